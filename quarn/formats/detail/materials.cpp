#include "quarn/formats/detail/materials.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace quarn::formats::detail {

namespace {

/// A name in UTF-8 as a bundle can have it. Bundles know Latin-1, where every sign is one byte.
std::string bundleName(const std::string& name) {
  return HxParamBase::normalizedName(QString::fromStdString(name).toLatin1().toStdString());
}

/// Names that were given other than they were written.
class ChangedNames {
public:
  void add(const std::string& from, const std::string& to) {
    constexpr int mostTold = 10;
    if (++count_ > mostTold) return;
    const auto quoted = [](const std::string& name) { return QString::fromStdString(McException::excerpt(name)); };
    list_.append(QStringLiteral("\"%1\" -> %2").arg(quoted(from), quoted(to)));
  }

  void tell(const char* what) const {
    if (count_ == 0) return;
    QString list = list_.join(QStringLiteral(", "));
    if (count_ > list_.size()) list += QStringLiteral(", and %1 more").arg(count_ - list_.size());
    HxMessage::printf("%s: %s", what, qUtf8Printable(list));
  }

private:
  QStringList list_;
  qsizetype count_ = 0;
};

/// Adds materials, whose names no two have.
class Adding {
public:
  explicit Adding(HxParamBundle& materials) : materials_(materials) {}

  void add(const std::string& name, std::uint32_t value, const LabelColor* color) {
    const std::string fitting = bundleName(name);
    std::string free = fitting;
    while (materials_.findBase(free)) free += "-" + std::to_string(value);
    if (free != fitting) {
      repeated_.add(name, free);
    } else if (fitting != name) {
      changed_.add(name, fitting);
    }
    auto material = std::make_unique<HxParamBundle>(free);
    material->set("Id", static_cast<std::int64_t>(value));
    if (color) material->setMaterialColor(toMcColor(*color));
    materials_.insert(std::move(material));
  }

  void tell() const {
    changed_.tell("names of labels were changed to those that materials can have");
    repeated_.tell("names of labels stand there more than once and were numbered");
  }

private:
  HxParamBundle& materials_;
  ChangedNames changed_, repeated_;
};

}  // namespace

void addMaterials(HxParamBundle& materials, const std::vector<std::uint32_t>& values, const LabelNames* names) {
  const auto colorOf = [names](std::uint32_t value) { return names ? names->color(value) : nullptr; };
  Adding adding(materials);
  adding.add("Exterior", 0, colorOf(0));
  for (const std::uint32_t value : values) {
    const std::string* const name = names ? names->find(value) : nullptr;
    adding.add(name ? *name : "Undescribed-label-" + std::to_string(value), value, colorOf(value));
  }
  adding.tell();
}

}  // namespace quarn::formats::detail
