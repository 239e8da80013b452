#include "quarn/kernel/fields/HxUniformLabelField3.h"

#include <QString>
#include <memory>
#include <string>

#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_CLASS_IMPL(HxUniformLabelField3, HxUniformScalarField3)

namespace {

using Materials = std::map<int, const HxParamBundle*>;

/// A list of texts as one word of a script.
QString listOf(const std::array<std::string, 3>& texts) {
  const char* words[] = {texts[0].c_str(), texts[1].c_str(), texts[2].c_str()};
  const std::unique_ptr<char, void (*)(char*)> list(Tcl_Merge(3, words), [](char* text) { Tcl_Free(text); });
  return QString::fromUtf8(list.get());
}

int appendLabels(const HxUniformLabelField3& field, const HxWords& words) {
  const auto voxels = field.countLabels();
  const Materials materials = field.materialsByLabel();
  for (int label = 0; label < static_cast<int>(voxels.size()); ++label) {
    const std::int64_t count = voxels[static_cast<std::size_t>(label)];
    const auto found = materials.find(label);
    if (count == 0 && found == materials.end()) continue;
    const std::string name = found == materials.end() ? std::string() : found->second->name();
    words.append(listOf({std::to_string(label), name, std::to_string(count)}));
  }
  return TCL_OK;
}

}  // namespace

HxUniformLabelField3::HxUniformLabelField3(const McDim3l& dimensions)
    : HxUniformScalarField3(dimensions, McPrimType::Uint8), lattice_(*this) {}

HxUniformLabelField3::~HxUniformLabelField3() = default;

Materials HxUniformLabelField3::materialsByLabel() const {
  Materials byLabel;
  const HxParamBundle* const all = materials();
  if (!all) return byLabel;
  const int count = all->bundleCount();
  int first = 0;
  const bool countsIds = count > 0 && all->getBundle(0)->findNum("Id", first) && first != 0;
  for (int index = 0; index < count; ++index) {
    const HxParamBundle* const material = all->getBundle(index);
    int label = index;
    if (!countsIds || material->findNum("Id", label)) byLabel.emplace(label, material);
  }
  return byLabel;
}

std::array<std::int64_t, 256> HxUniformLabelField3::countLabels() const {
  // Neighbours mostly have the same label, and one counter would wait for itself.
  std::array<std::array<std::int64_t, 256>, 4> counts{};
  const std::uint8_t* const labels = lattice_.getLabels();
  const std::int64_t size = voxelCount();
  for (std::int64_t i = 0; i < size; ++i) ++counts[static_cast<std::size_t>(i & 3)][labels[i]];
  std::array<std::int64_t, 256> sum = counts[0];
  for (std::size_t part = 1; part < counts.size(); ++part) {
    for (std::size_t label = 0; label < sum.size(); ++label) sum[label] += counts[part][label];
  }
  return sum;
}

int HxUniformLabelField3::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxUniformLabelField3> kCommands[] = {
      {{"getLabels", "", 0, 0,
        "Returns a list {LABEL NAME VOXELS} for each label that occurs or has a material; the name is empty without "
        "one."},
       [](HxUniformLabelField3& field, const HxWords& words) { return appendLabels(field, words); }},
  };
  const auto code = runWordCommand(kCommands, "HxUniformLabelField3", *this, HxWords{interp, argc, argv});
  return code ? *code : HxUniformScalarField3::parse(interp, argc, argv);
}
