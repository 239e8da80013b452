#include "quarn/kernel/script/detail/scriptReference.h"

#include <QMap>
#include <QStringList>

#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/script/creatableClasses.h"
#include "quarn/kernel/script/detail/commandListing.h"
#include "quarn/kernel/script/detail/hostCommands.h"

namespace quarn::detail {
namespace {

/// Bars part the columns of a table.
QString cell(QString text) {
  return text.replace('|', "\\|").replace('\n', ' ');
}

QString code(const QString& text) {
  return '`' + cell(text) + '`';
}

QString tableRow(const QString& command, const QString& words, const QString& help) {
  return "| " + code(words.isEmpty() ? command : command + ' ' + words) + " | " + cell(help) + " |\n";
}

const QString tableHead = QStringLiteral("| Command | What it does |\n|---|---|\n");

/// Commands by the class whose table has them, each class in the order of its table.
class Tables {
public:
  /// Returns the classes in the order in which they are asked.
  QStringList add(const HxCmdInfo& info, const QString& ownClass) {
    QStringList classes;
    for (int i = 0; i < info.size(); ++i) {
      const HxCmdEntry& entry = info[i];
      const QString of = entry.of.isEmpty() ? ownClass : entry.of;
      if (!classes.contains(of)) classes += of;
      const QString row = tableRow(entry.name, entry.words(), entry.text ? QString::fromUtf8(entry.text->help) : "");
      if (!tables_[of].contains(row)) tables_[of] += row;
    }
    return classes;
  }

  QString text() const {
    QString text;
    for (auto table = tables_.begin(); table != tables_.end(); ++table)
      text += "### " + table.key() + "\n\n" + tableHead + table.value().join(QString()) + "\n";
    return text;
  }

private:
  QMap<QString, QStringList> tables_;
};

QString typeOf(const HxPort& port) {
  return QString::fromStdString(port.getTypeId().getName());
}

/// Goes over all classes.
class Reference {
public:
  Reference() {
    for (const QString& name : creatableClasses()) addClass(name);
  }

  QString text() const {
    return "## Classes\n\nA class has the commands of the tables named, the first one first, and those of its "
           "ports.\n\n"
           "| Class | Commands | Ports |\n|---|---|---|\n" +
           classes_.join(QString()) + "\n## Commands of objects\n\n" + objects_.text() + "## Commands of ports\n\n" +
           kinds_.join(QString()) + "\n" + ports_.text();
  }

private:
  void addClass(const QString& name) {
    const McHandle<HxObject> object = HxObject::create(name);
    QStringList tables = objects_.add(commandListing(*object, {name}), name);
    if (auto* const data = dynamic_cast<HxData*>(object.get()))
      objects_.add(commandListing(data->parameters, {QStringLiteral("parameters")}), QStringLiteral("parameters"));
    QStringList ports;
    for (HxPort* const port : object->ports()) ports += code(port->getName()) + " " + addKind(*port);
    classes_ += "| " + name + " | " + tables.join(", ") + " | " + ports.join(", ") + " |\n";
  }

  QString addKind(HxPort& port) {
    const QString kind = typeOf(port);
    const QStringList tables = ports_.add(commandListing(port, {port.getName()}), kind);
    const QString line = "- " + kind + ": " + tables.join(", ") + "\n";
    if (!kinds_.contains(line)) kinds_ += line;
    return kind;
  }

  QStringList classes_, kinds_;
  Tables objects_, ports_;
};

QString hostTable() {
  QString text = "## Commands of the program\n\n" + tableHead;
  for (const HxCommandRow& row : HxCommandTable::instance().rows()) text += tableRow(row.name, row.words, row.help);
  return text + "\n";
}

}  // namespace

QString scriptReference() {
  const QString head = QStringLiteral(
      "# Script reference\n\n"
      "This page is written by the program itself (`scripts/reference`), from the tables that `help` shows.\n\n"
      "Scripts are Tcl. An object is a command: `OBJECT COMMAND ...`, or `OBJECT PORT COMMAND ...` for one of its "
      "ports.\n"
      "Words in capitals stand for values; what is between question marks may be left out; dots stand for more of the "
      "same.\n"
      "Values are the result of a command. What goes wrong fails the command, with a text that names the value at "
      "fault;\n"
      "nothing is changed then. `help`, `OBJECT help ?COMMAND?` and `OBJECT PORT help ?COMMAND?` tell what is here, "
      "and "
      "what\n"
      "values an object takes at the moment.\n\n");
  return head + hostTable() + Reference().text().trimmed();
}

}  // namespace quarn::detail
