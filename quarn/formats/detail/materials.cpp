#include "quarn/formats/detail/materials.h"

#include <QString>
#include <memory>
#include <string>

namespace quarn::formats::detail {

namespace {

/// A name in UTF-8 as a bundle can have it. Bundles know Latin-1, where every sign is one byte.
std::string bundleName(const std::string& name) {
  return HxParamBase::normalizedName(QString::fromStdString(name).toLatin1().toStdString());
}

void addMaterial(HxParamBundle& materials, std::string name, std::uint32_t value, const LabelColor* color) {
  while (materials.findBase(name)) name += "-" + std::to_string(value);
  auto material = std::make_unique<HxParamBundle>(name);
  material->set("Id", static_cast<std::int64_t>(value));
  if (color) material->setMaterialColor(toMcColor(*color));
  materials.insert(std::move(material));
}

}  // namespace

void addMaterials(HxParamBundle& materials, const std::vector<std::uint32_t>& values, const LabelNames* names) {
  const auto colorOf = [names](std::uint32_t value) { return names ? names->color(value) : nullptr; };
  addMaterial(materials, "Exterior", 0, colorOf(0));
  for (const std::uint32_t value : values) {
    const std::string* const name = names ? names->find(value) : nullptr;
    addMaterial(materials, name ? bundleName(*name) : "Label-" + std::to_string(value), value, colorOf(value));
  }
}

}  // namespace quarn::formats::detail
