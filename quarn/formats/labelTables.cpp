#include "quarn/formats/labelTables.h"

#include <QFileInfo>
#include <algorithm>

#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFileTypes.h"

namespace quarn::formats {

namespace {

using Labels = std::vector<TableLabel>;

constexpr LabelColor grey{128, 128, 128};
constexpr std::size_t lookupColors = 256;

/// The part of the labels for which `is` holds, in words.
template <class Predicate>
void note(QStringList& losses, const Labels& labels, Predicate is, const char* what) {
  const auto count = std::count_if(labels.begin(), labels.end(), is);
  if (count != 0) losses += QStringLiteral("%1 of %2 labels ").arg(count).arg(labels.size()) + QLatin1String(what);
}

bool hasColor(const TableLabel& label) {
  return label.color.has_value();
}

bool lacksColor(const TableLabel& label) {
  return !label.color;
}

/// Whether the first word is only digits.
bool beginsWithNumber(const TableLabel& label) {
  const std::size_t digits = std::min(label.name.find_first_not_of("0123456789"), label.name.size());
  return digits > 0 && (digits == label.name.size() || label.name[digits] == ' ');
}

std::string withSignFor(std::string name, char sign, char substitute) {
  std::replace(name.begin(), name.end(), sign, substitute);
  return name;
}

bool holds(const TableLabel& label, char sign) {
  return label.name.find(sign) != std::string::npos;
}

std::string colorText(const TableLabel& label) {
  const LabelColor color = label.color.value_or(grey);
  return std::to_string(color[0]) + " " + std::to_string(color[1]) + " " + std::to_string(color[2]);
}

QByteArray toBytes(const std::string& text) {
  return QByteArray::fromStdString(text);
}

/// What becomes of the "Id" of materials, which is another number in an image that was renumbered.
void noteIds(QStringList& losses, const HxUniformLabelField3& field) {
  const auto materials = field.materialsByLabel();
  int others = 0;
  for (const auto& [label, material] : materials) {
    std::int64_t id = 0;
    others += material->findNum("Id", id) && id != label;
  }
  if (others != 0)
    losses += QStringLiteral("values are those of the field; %1 of %2 labels have another \"Id\"")
                  .arg(others)
                  .arg(materials.size());
}

using Writer = WrittenTable (*)(const Labels&);

int save(HxData* data, const char* file, Writer write) {
  const auto& field = dynamic_cast<const HxUniformLabelField3&>(*data);
  WrittenTable table = write(labelsOf(field));
  noteIds(table.losses, field);
  const QString path = QString::fromUtf8(file);
  HxFileHelpers::replaceFile(path, table.bytes);
  if (!table.losses.isEmpty()) {
    const QString line = QFileInfo(path).fileName() + ": " + table.losses.join(QStringLiteral("; "));
    HxMessage::printf("%s", qUtf8Printable(line));
  }
  return 1;
}

template <Writer write>
int saveAs(HxData* data, const char* file) {
  return save(data, file, write);
}

}  // namespace

Labels labelsOf(const HxUniformLabelField3& field) {
  const HxParamBundle* const materials = field.materials();
  if (!materials || materials->bundleCount() == 0)
    detail::refuse(field.describe(), QStringLiteral("has no materials to be written as a table"));
  Labels labels;
  for (const auto& [value, material] : field.materialsByLabel()) {
    if (value < 0) continue;
    TableLabel label{static_cast<std::uint32_t>(value), QString::fromLatin1(material->name().c_str()).toStdString(),
                     std::nullopt};
    if (McColor color; material->getMaterialColor(color)) label.color = toLabelColor(color);
    labels.push_back(std::move(label));
  }
  return labels;
}

WrittenTable toLabelNames(const Labels& labels) {
  WrittenTable table;
  std::string text;
  for (const TableLabel& label : labels)
    text += std::to_string(label.value) + "\t" + (beginsWithNumber(label) ? "_" : "") + label.name + "\n";
  table.bytes = toBytes(text);
  note(table.losses, labels, hasColor, "lose their colour");
  note(table.losses, labels, beginsWithNumber, "begin with a number and get \"_\" in front");
  return table;
}

WrittenTable toColorTable(const Labels& labels) {
  WrittenTable table;
  std::string text = "# label name red green blue opacity\n";
  for (const TableLabel& label : labels) {
    text += std::to_string(label.value) + " " + (beginsWithNumber(label) ? "_" : "") +
            withSignFor(label.name, ' ', '_') + " " + colorText(label) + (label.value == 0 ? " 0\n" : " 255\n");
  }
  table.bytes = toBytes(text);
  note(table.losses, labels, lacksColor, "have no colour and are grey");
  note(
      table.losses, labels, [](const TableLabel& label) { return holds(label, ' '); }, "get \"_\" for blanks");
  note(table.losses, labels, beginsWithNumber, "begin with a number and get \"_\" in front");
  return table;
}

WrittenTable toLabelDescriptions(const Labels& labels) {
  WrittenTable table;
  std::string text = "# label red green blue opacity visible meshed name\n";
  for (const TableLabel& label : labels) {
    text += std::to_string(label.value) + " " + colorText(label) + (label.value == 0 ? " 0 0 0 \"" : " 1 1 1 \"") +
            withSignFor(label.name, '"', '\'') + "\"\n";
  }
  table.bytes = toBytes(text);
  note(table.losses, labels, lacksColor, "have no colour and are grey");
  note(
      table.losses, labels, [](const TableLabel& label) { return holds(label, '"'); }, "get ' for double quotes");
  return table;
}

WrittenTable toLookupTable(const Labels& labels) {
  WrittenTable table;
  table.bytes = QByteArray(3 * lookupColors, '\0');
  for (const TableLabel& label : labels) {
    if (label.value >= lookupColors) continue;
    const LabelColor color = label.color.value_or(label.value == 0 ? LabelColor{} : grey);
    for (std::size_t channel = 0; channel < 3; ++channel)
      table.bytes[static_cast<qsizetype>(channel * lookupColors + label.value)] = static_cast<char>(color[channel]);
  }
  note(
      table.losses, labels, [](const TableLabel&) { return true; }, "lose their name");
  const auto isGrey = [](const TableLabel& label) { return lacksColor(label) && label.value != 0; };
  const auto isBlack = [](const TableLabel& label) { return lacksColor(label) && label.value == 0; };
  note(table.losses, labels, isGrey, "have no colour and are grey");
  note(table.losses, labels, isBlack, "have no colour and are black");
  note(
      table.losses, labels, [](const TableLabel& label) { return label.value >= lookupColors; },
      "are above 255 and left out");
  return table;
}

void registerLabelTables() {
  const auto add = [](const char* format, const char* suffix, HxFileSaver saver) {
    HxFileTypes::instance().registerSaver(QStringLiteral("HxUniformLabelField3"), QLatin1String(format),
                                          QLatin1String(suffix), std::move(saver));
  };
  add("Label names", ".txt", saveAs<&toLabelNames>);
  add("Color table", ".ctbl", saveAs<&toColorTable>);
  add("Label descriptions", ".label", saveAs<&toLabelDescriptions>);
  add("Lookup table", ".lut", saveAs<&toLookupTable>);
}

}  // namespace quarn::formats
