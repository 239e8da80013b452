#include "quarn/kernel/packages/HxPackageManifest.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"

namespace {

constexpr qint64 maxBytes = 1 << 20;

QString shown(const QJsonValue& value) {
  if (value.isString()) return QLatin1Char('"') + value.toString() + QLatin1Char('"');
  const QJsonArray wrapped{value};
  const QString text = QString::fromUtf8(QJsonDocument(wrapped).toJson(QJsonDocument::Compact));
  return text.mid(1, text.size() - 2);
}

/// Takes fields out of a manifest and notes everything that is wrong with them.
class Fields {
public:
  explicit Fields(const QString& file) : file_(file) {}

  enum Need { Optional, Required };

  QString text(const QJsonObject& object, const QString& place, const char* key, Need need) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined() && need == Optional) return {};
    if (value.isString() && (need == Optional || !value.toString().isEmpty())) return value.toString();
    complain(place, key, value, "a text is expected");
    return {};
  }

  /// A text that must look like `pattern`.
  QString word(const QJsonObject& object, const QString& place, const char* key, Need need, const char* pattern,
               const char* expected) {
    const QString text = this->text(object, place, key, need);
    static const QString whole = QStringLiteral("\\A(?:%1)\\z");
    if (!text.isEmpty() && !QRegularExpression(whole.arg(QLatin1String(pattern))).match(text).hasMatch())
      complain(place, key, text, expected);
    return text;
  }

  QString identifier(const QJsonObject& object, const QString& place, const char* key, Need need) {
    return word(object, place, key, need, "[A-Za-z_][A-Za-z0-9_]*", "a name of letters, digits and _ is expected");
  }

  QJsonArray array(const QJsonObject& object, const QString& place, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isUndefined() && !value.isArray()) complain(place, key, value, "a list is expected");
    return value.toArray();
  }

  QStringList names(const QJsonObject& object, const char* key) {
    QStringList names;
    for (const QJsonValue& value : array(object, QString(), key)) {
      const QJsonObject wrapped{{QLatin1String(key), value}};
      names.append(identifier(wrapped, QString(), key, Required));
    }
    return names;
  }

  /// Calls `read` for every object of a list, with the object and where it stands.
  template <class Read>
  void each(const QJsonObject& object, const QString& place, const char* key, Read read) {
    int index = 0;
    for (const QJsonValue& value : array(object, place, key)) {
      const QString elementPlace = place + QLatin1String(key) + QStringLiteral("[%1].").arg(index++);
      if (!value.isObject()) complain(elementPlace, "", value, "an object is expected");
      read(value.toObject(), elementPlace);
    }
  }

  void complain(const QString& place, const char* key, const QJsonValue& value, const char* what) {
    const std::string given =
        value.isUndefined() ? "it is missing" : "got " + McException::excerpt(shown(value).toStdString());
    problems_.append(QString::fromStdString(file_.toStdString() + ": \"" + place.toStdString() + key + "\": " + what +
                                            ", " + given));
  }

  void throwProblems() const {
    if (!problems_.isEmpty()) throw McException(problems_.join(QLatin1Char('\n')).toStdString());
  }

private:
  QString file_;
  QStringList problems_;
};

constexpr const char* suffixPattern = "\\.[A-Za-z0-9_.+-]+";
constexpr const char* suffixExpected = "a file name ending with its dot is expected";

HxPackageManifest::FileType readFileType(Fields& fields, const QJsonObject& object, const QString& place) {
  HxPackageManifest::FileType type;
  type.label = fields.text(object, place, "label", Fields::Required);
  type.suffix = fields.word(object, place, "suffix", Fields::Required, suffixPattern, suffixExpected);
  type.contentType = fields.text(object, place, "contentType", Fields::Optional);
  type.read = fields.identifier(object, place, "read", Fields::Optional);
  if (type.contentType.isEmpty() != type.read.isEmpty())
    fields.complain(place, "read", object.value(QLatin1String("read")), "contentType and read belong together");
  type.verify = fields.identifier(object, place, "verify", Fields::Optional);
  if (type.read.isEmpty() && !type.verify.isEmpty())
    fields.complain(place, "verify", object.value(QLatin1String("verify")), "only what is read can be verified");
  fields.each(object, place, "save", [&](const QJsonObject& entry, const QString& entryPlace) {
    type.save.push_back({fields.text(entry, entryPlace, "format", Fields::Required),
                         fields.identifier(entry, entryPlace, "class", Fields::Required),
                         fields.identifier(entry, entryPlace, "function", Fields::Required)});
  });
  return type;
}

QJsonObject parseObject(const QByteArray& json, const QString& file) {
  QJsonParseError error;
  const QJsonDocument document = QJsonDocument::fromJson(json, &error);
  if (error.error != QJsonParseError::NoError) {
    const qsizetype line = json.left(error.offset).count('\n') + 1;
    throw McException(file.toStdString() + ":" + std::to_string(line) + ": " + error.errorString().toStdString());
  }
  if (!document.isObject()) throw McException(file.toStdString() + ": an object is expected");
  return document.object();
}

}  // namespace

HxPackageManifest HxPackageManifest::fromFile(const QString& file) {
  return parse(HxFileHelpers::readFile(file, maxBytes), file);
}

HxPackageManifest HxPackageManifest::parse(const QByteArray& json, const QString& file) {
  const QJsonObject object = parseObject(json, file);
  Fields fields(file);
  HxPackageManifest manifest;
  manifest.name = fields.identifier(object, {}, "name", Fields::Required);
  manifest.version = fields.text(object, {}, "version", Fields::Required);
  manifest.abi = fields.text(object, {}, "abi", Fields::Required);
  manifest.requiredPackages = fields.names(object, "requires");
  manifest.classes = fields.names(object, "classes");
  fields.each(object, {}, "interfaceFactories", [&](const QJsonObject& entry, const QString& place) {
    manifest.interfaceFactories.push_back({fields.identifier(entry, place, "class", Fields::Required),
                                           fields.identifier(entry, place, "factory", Fields::Required)});
  });
  fields.each(object, {}, "fileTypes", [&](const QJsonObject& entry, const QString& place) {
    manifest.fileTypes.push_back(readFileType(fields, entry, place));
  });
  const QFileInfo info(file);
  if (!manifest.name.isEmpty() && manifest.name != info.completeBaseName())
    fields.complain({}, "name", manifest.name, "the name of the file without .json is expected");
  fields.throwProblems();
  manifest.file = file;
  manifest.binary = info.dir().absoluteFilePath(QStringLiteral("lib%1.so").arg(manifest.name));
  return manifest;
}

QString quarn::packageAbi() {
  return QStringLiteral(QUARN_ABI);
}
