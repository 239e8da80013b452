#include "quarn/kernel/params/detail/ParamDraft.h"

#include <QCoreApplication>

#include "quarn/base/McException.h"
#include "quarn/kernel/params/detail/valueText.h"

namespace quarn::detail {

namespace {

constexpr int kSeveralValues = HxParamBase::Bold | HxParamBase::Italic;

QString tr(const char* text) {
  return QCoreApplication::translate("QxParamDialog", text);
}

QString quoted(const QString& text) {
  return QString::fromStdString(McException::excerpt(text.toStdString()));
}

QString belongsToProgram(const HxParamBase& element) {
  return tr("\"%1\" belongs to the program.").arg(QString::fromLatin1(element.name().c_str()));
}

QString notOfType(const QString& text, HxParameter::Type type) {
  return tr("\"%1\" is no value of the type %2.").arg(quoted(text), HxParameter::typeName(type));
}

std::string freeName(const HxParamBundle& parent, const std::string& stem) {
  std::string name = stem;
  for (int i = 2; parent.findBase(name); ++i) name = stem + std::to_string(i);
  return name;
}

bool isSame(const HxParamBase& a, const HxParamBase& b) {
  if (a.isBundle() || b.isBundle()) return a.isBundle() && b.isBundle();
  return static_cast<const HxParameter&>(a).value() == static_cast<const HxParameter&>(b).value();
}

bool sameMarks(const HxParamBase& a, const HxParamBase& b) {
  return a.getFontStyleFlag(kSeveralValues) == b.getFontStyleFlag(kSeveralValues);
}

void assign(HxParamBundle& bundle, const HxParamBase& element) {
  if (element.isBundle()) {
    bundle.insert(element.clone());
    return;
  }
  bundle.set(element.name(), static_cast<const HxParameter&>(element).value());
  bundle.find(element.name())->setFontStyleFlag(kSeveralValues, element.getFontStyleFlag(kSeveralValues));
}

void writeChanges(const HxParamBundle& before, const HxParamBundle& after, HxParamBundle& bundle) {
  for (int i = 0; i < before.size(); ++i)
    if (!after.findBase(before[i]->name())) bundle.remove(before[i]->name());
  for (int i = 0; i < after.size(); ++i) {
    const HxParamBase* now = after[i];
    const HxParamBase* former = before.findBase(now->name());
    if (!former || !isSame(*former, *now) || !sameMarks(*former, *now)) {
      assign(bundle, *now);
    } else if (now->isBundle()) {
      // A bundle that somebody removed meanwhile does not come back.
      if (HxParamBundle* inner = bundle.getBundle(now->name(), false))
        writeChanges(static_cast<const HxParamBundle&>(*former), static_cast<const HxParamBundle&>(*now), *inner);
    }
  }
}

}  // namespace

QString ParamDraft::setValue(HxParameter& parameter, const QString& text) {
  if (parameter.getFlag(HxParamBase::Fixed)) return belongsToProgram(parameter);
  const auto value = valueFromText(parameter.type(), text.toStdString());
  if (!value) return notOfType(text, parameter.type());
  parameter.setValue(*value);
  parameter.setFontStyleFlag(kSeveralValues, false);
  return {};
}

QString ParamDraft::setType(HxParameter& parameter, HxParameter::Type type) {
  if (type == parameter.type()) return {};
  if (parameter.getFlag(HxParamBase::Fixed)) return belongsToProgram(parameter);
  const auto value = valueFromText(type, parameter.print());
  if (!value) return notOfType(QString::fromStdString(parameter.print()), type);
  parameter.setValue(*value);
  return {};
}

QString ParamDraft::rename(HxParamBundle& parent, HxParamBase& element, const QString& name) {
  const std::string legal = HxParamBase::normalizedName(name.trimmed().toLatin1().toStdString());
  if (legal == element.name()) return {};
  if (legal.empty()) return tr("A parameter needs a name.");
  if (parent.findBase(legal)) return tr("There is \"%1\" already.").arg(quoted(QString::fromLatin1(legal.c_str())));
  if (element.getFlag(HxParamBase::Fixed) || !element.setName(legal)) return belongsToProgram(element);
  return {};
}

QString ParamDraft::remove(HxParamBundle& parent, HxParamBase& element) {
  if (element.getFlag(HxParamBase::Permanent) || element.getFlag(HxParamBase::Fixed)) return belongsToProgram(element);
  parent.remove(element.name());
  return {};
}

HxParamBase* ParamDraft::addParameter(HxParamBundle& parent) {
  return parent.insert(std::make_unique<HxParameter>(freeName(parent, "parameter"), ""));
}

HxParamBase* ParamDraft::addBundle(HxParamBundle& parent) {
  return parent.insert(std::make_unique<HxParamBundle>(freeName(parent, "bundle")));
}

void ParamDraft::writeTo(HxParamBundle& bundle) {
  writeChanges(written_, draft_, bundle);
  written_ = draft_;
}

}  // namespace quarn::detail
