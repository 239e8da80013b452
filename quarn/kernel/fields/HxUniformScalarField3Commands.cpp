#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace {

template <class Number>
std::optional<std::array<Number, 3>> parseThree(char** argv) {
  std::array<Number, 3> numbers;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string_view word = argv[i];
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), numbers[i]);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  }
  return numbers;
}

int append(Tcl_Interp* interp, std::initializer_list<double> reals) {
  for (const double real : reals) Tcl_VaAppendElement(interp, "%s", HxParameter::printReal(real).c_str());
  return TCL_OK;
}

/// Where in the grid indices are.
QString indexText(const HxUniformScalarField3& field) {
  const McDim3l n = field.latticeDimensions();
  return QStringLiteral("X from 0 to %1, Y from 0 to %2, Z from 0 to %3").arg(n.nx - 1).arg(n.ny - 1).arg(n.nz - 1);
}

int refuseIndex(const HxUniformScalarField3& field, char** argv) {
  const QString given = QStringLiteral("%1 %2 %3").arg(argv[2], argv[3], argv[4]);
  return HxWords::refuse(argv[1], given, indexText(field));
}

}  // namespace

int HxUniformScalarField3::parse(Tcl_Interp* interp, int argc, char** argv) {
  using Field = HxUniformScalarField3;
  static constexpr HxWordCommand<Field> kCommands[] = {
      {{"getDimensions", "", 0, 0, "Returns the numbers of voxels along x, y and z."},
       [](Field& field, const HxWords& words) {
         for (int axis = 0; axis < 3; ++axis) words.append(QString::number(field.dimensions_[axis]));
         return TCL_OK;
       }},
      {{"getVoxelSize", "", 0, 0, "Returns the size of a voxel along x, y and z."},
       [](Field& field, const HxWords& words) {
         const auto size = field.geometry().voxelSize;
         return append(words.interp, {size[0], size[1], size[2]});
       }},
      {{"getBoundingBox", "", 0, 0, "Returns xmin xmax ymin ymax zmin zmax of the centres of the outermost voxels."},
       [](Field& field, const HxWords& words) {
         const McBox3f b = field.boundingBox();
         return append(words.interp, {b[0], b[1], b[2], b[3], b[4], b[5]});
       }},
      {{"getType", "", 0, 0, "Returns the type of the values."},
       [](Field& field, const HxWords& words) { return words.append(primTypeName(field.primType())); }},
      {{"getRange", "", 0, 0, "Returns the least and the greatest value."},
       [](Field& field, const HxWords& words) {
         double min;
         double max;
         field.valueRange(min, max);
         return append(words.interp, {min, max});
       }},
      {{"getValue", "X Y Z", 3, 3, "Returns the value of the voxel with these indices; the first is 0 0 0."},
       [](Field& field, const HxWords& words) { return field.parseGetValue(words.interp, words.argv); }},
      {{"voxelToWorld", "I J K", 3, 3, "Returns the place of a voxel index in the world; the index may be broken."},
       [](Field& field, const HxWords& words) { return field.parseVoxelToWorld(words.interp, words.argv); }},
  };
  getCmdInfo().note("getValue", indexText(*this));
  const auto code = runWordCommand(kCommands, "HxUniformScalarField3", *this, HxWords{interp, argc, argv});
  return code ? *code : HxRegScalarField3::parse(interp, argc, argv);
}

int HxUniformScalarField3::parseGetValue(Tcl_Interp* interp, char** argv) {
  const auto index = parseThree<std::int64_t>(argv + 2);
  if (!index) return refuseIndex(*this, argv);
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t i = (*index)[static_cast<std::size_t>(axis)];
    if (i < 0 || i >= dimensions_[axis]) return refuseIndex(*this, argv);
  }
  const auto [x, y, z] = *index;
  return append(interp, {value(x, y, z)});
}

int HxUniformScalarField3::parseVoxelToWorld(Tcl_Interp* interp, char** argv) {
  const auto index = parseThree<double>(argv + 2);
  if (!index)
    return HxWords::refuse(argv[1], QStringLiteral("%1 %2 %3").arg(argv[2], argv[3], argv[4]), "three numbers");
  const auto [x, y, z] = voxelToWorld((*index)[0], (*index)[1], (*index)[2]);
  return append(interp, {x, y, z});
}
