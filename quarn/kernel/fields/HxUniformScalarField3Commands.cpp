#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/script/HxCommands.h"

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

}  // namespace

int HxUniformScalarField3::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto is = [&](const char* name, const char* synopsis) { return cmdCheck(word, name, synopsis) != 0; };
  const auto run = [&](int words, auto command) {
    const int form = cmdHelp(interp, argv[1], argc == words, argc, argv);
    return form == HX_CMD_GO_ON ? command() : form;
  };

  if (is("getDimensions", "")) {
    return run(2, [&] {
      for (int axis = 0; axis < 3; ++axis)
        Tcl_VaAppendElement(interp, "%lld", static_cast<long long>(dimensions_[axis]));
      return TCL_OK;
    });
  }
  if (is("getVoxelSize", "")) {
    return run(2, [&] {
      const auto size = geometry().voxelSize;
      return append(interp, {size[0], size[1], size[2]});
    });
  }
  if (is("getBoundingBox", "")) {
    return run(2, [&] {
      const McBox3f b = boundingBox();
      return append(interp, {b[0], b[1], b[2], b[3], b[4], b[5]});
    });
  }
  if (is("getType", "")) {
    return run(2, [&] {
      Tcl_VaAppendElement(interp, "%s", primTypeName(primType()));
      return TCL_OK;
    });
  }
  if (is("getRange", "")) {
    return run(2, [&] {
      double min;
      double max;
      valueRange(min, max);
      return append(interp, {min, max});
    });
  }
  if (is("getValue", "X Y Z")) return run(5, [&] { return parseGetValue(interp, argv); });
  if (is("voxelToWorld", "I J K")) return run(5, [&] { return parseVoxelToWorld(interp, argv); });
  return HxRegScalarField3::parse(interp, argc, argv);
}

int HxUniformScalarField3::parseGetValue(Tcl_Interp* interp, char** argv) {
  const auto index = parseThree<std::int64_t>(argv + 2);
  if (!index) return cmdError(interp, HX_CMD_WRONG_VALUE, "getValue");
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t i = (*index)[static_cast<std::size_t>(axis)];
    if (i < 0 || i >= dimensions_[axis]) return cmdError(interp, HX_CMD_WRONG_VALUE, "getValue");
  }
  const auto [x, y, z] = *index;
  return append(interp, {value(x, y, z)});
}

int HxUniformScalarField3::parseVoxelToWorld(Tcl_Interp* interp, char** argv) {
  const auto index = parseThree<double>(argv + 2);
  if (!index) return cmdError(interp, HX_CMD_WRONG_VALUE, "voxelToWorld");
  const auto [x, y, z] = voxelToWorld((*index)[0], (*index)[1], (*index)[2]);
  return append(interp, {x, y, z});
}
