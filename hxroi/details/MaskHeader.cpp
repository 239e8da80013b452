#include "hxroi/details/MaskHeader.h"

#include <QByteArray>
#include <QDomDocument>
#include <QTextStream>
#include <QXmlStreamReader>
#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <charconv>
#include <locale>
#include <sstream>

#include "quarn/voxora/files/VolumeHeader.h"

namespace hxroi::details::MaskHeader {

namespace {

constexpr int kMaximumDepth = 64;
constexpr int kIndentation = 1;
constexpr std::string_view kBlanks = " \t\r\n";

/// One pass without building anything, since a document tree of a hostile text could exhaust memory or stack.
bool isHarmless(const QByteArray& text) {
  if (static_cast<std::uint64_t>(text.size()) > hxvoxora::VolumeHeader::maxTextBytes) return false;
  QXmlStreamReader reader(text);
  reader.setNamespaceProcessing(false);
  for (int depth = 0; !reader.atEnd();) {
    switch (reader.readNext()) {
      case QXmlStreamReader::DTD:
      case QXmlStreamReader::EntityReference:
        return false;
      case QXmlStreamReader::StartElement:
        if (++depth > kMaximumDepth) return false;
        break;
      case QXmlStreamReader::EndElement:
        --depth;
        break;
      default:
        break;
    }
  }
  return !reader.hasError();
}

/// A header as a document; isNull() of `root` when it may not be edited.
class Document {
public:
  explicit Document(const std::string& text) {
    const QByteArray bytes = QByteArray::fromStdString(text);
    if (!isHarmless(bytes) || !document_.setContent(bytes)) return;
    root = document_.firstChildElement(QStringLiteral("VolumeInformation"));
  }

  void remove(const char* name) {
    const QDomElement element = root.firstChildElement(QLatin1String(name));
    if (!element.isNull()) root.removeChild(element);
  }

  void append(const char* name, const std::string& text) {
    QDomElement element = document_.createElement(QLatin1String(name));
    element.appendChild(document_.createTextNode(QString::fromUtf8(text.c_str())));
    root.appendChild(element);
  }

  std::string toText() const {
    QByteArray bytes;
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    document_.save(stream, kIndentation);
    stream.flush();
    return bytes.toStdString();
  }

  QDomElement root;

private:
  QDomDocument document_;
};

void replaceText(Document& header, const char* name, const std::string& text) {
  const QDomElement former = header.root.firstChildElement(QLatin1String(name));
  if (former.isNull()) return;
  header.append(name, text);
  header.root.replaceChild(header.root.lastChildElement(QLatin1String(name)), former);
}

}  // namespace

std::string boxText(const McBox3i& box) {
  std::string text = std::to_string(box[0]);
  for (int i = 1; i < 6; ++i) text += " " + std::to_string(box[i]);
  return text;
}

std::optional<McBox3i> parseBox(std::string_view text) {
  McBox3i box(1, -1, 1, -1, 1, -1);
  for (int i = 0; i < 6; ++i) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    if (word.empty()) return box;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), box[i]);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    text.remove_prefix(word.size());
  }
  return text.find_first_not_of(kBlanks) == std::string_view::npos ? std::optional(box) : std::nullopt;
}

std::optional<std::string> withBoxes(const std::string& header, const std::optional<McBox3i>& exact,
                                     const std::optional<McBox3i>& approximated) {
  Document document(header);
  if (document.root.isNull()) return std::nullopt;
  document.remove(kBoundingBox);
  document.remove(kApproximatedBoundingBox);
  if (exact) document.append(kBoundingBox, boxText(*exact));
  if (approximated) document.append(kApproximatedBoundingBox, boxText(*approximated));
  return document.toText();
}

std::string withReplacedNames(const std::string& header, const FileNames& from, const FileNames& to) {
  const std::locale bytes = std::locale::classic();
  std::istringstream lines(header);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    boost::algorithm::ireplace_first(line, from.data, to.data, bytes);
    boost::algorithm::ireplace_first(line, from.index, to.index, bytes);
    result += line + "\n";
  }
  return result;
}

std::optional<std::string> withNames(const std::string& header, const FileNames& names) {
  Document document(header);
  if (document.root.isNull()) return std::nullopt;
  replaceText(document, "DataFile", names.data);
  replaceText(document, "IndexFile", names.index);
  return document.toText();
}

}  // namespace hxroi::details::MaskHeader
