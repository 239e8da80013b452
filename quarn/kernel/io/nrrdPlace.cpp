#include "quarn/kernel/io/nrrdPlace.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/soundLattice.h"

namespace quarn {

namespace {

constexpr const char* ourSpace = "left-posterior-superior";

/// Signs that bring x and y of a space to ours; nothing for spaces that do not tell where the patient lies.
std::optional<std::array<double, 3>> turnOf(const std::string& space) {
  if (space == ourSpace) return std::array<double, 3>{1, 1, 1};
  if (space == "left-anterior-superior") return std::array<double, 3>{1, -1, 1};
  if (space == "right-anterior-superior") return std::array<double, 3>{-1, -1, 1};
  return std::nullopt;
}

/// Units as they stand in files, in millimetres.
const std::map<std::string_view, double>& knownUnits() {
  static const std::map<std::string_view, double> known = {
      {"", 1.0},           {"???", 1.0},         {"mm", 1.0},
      {"millimeter", 1.0}, {"millimeters", 1.0}, {"um", 1e-3},
      {"\u00B5m", 1e-3},   {"\u03BCm", 1e-3},    {"micron", 1e-3},
      {"microns", 1e-3},   {"micrometer", 1e-3}, {"micrometers", 1e-3},
      {"nm", 1e-6},        {"cm", 10.0},         {"m", 1000.0}};
  return known;
}

/// Numbers with blanks between them; nothing when a word is none.
std::optional<std::vector<double>> numbersIn(std::string_view text) {
  constexpr std::string_view blanks = " \t";
  std::vector<double> numbers;
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    if (text.empty()) return numbers;
    std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    if (word.front() == '+') word.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    numbers.push_back(number);
  }
}

/// Works out the place of some axes.
class Placing {
public:
  Placing(const NrrdHeader& header, const std::array<std::size_t, 3>& axes, const QString& file)
      : header_(header), axes_(axes), file_(file) {}

  NrrdPlace place();

private:
  void placeByDirection(const NrrdHeader::Vector& step, std::size_t column);
  void placeByEnds(std::size_t column);
  void turn();
  std::vector<double> units(const char* name, std::size_t count) const;
  std::optional<double> number(const char* name, std::size_t axis) const;
  bool endsInCenters(std::size_t axis) const;
  const std::string* text(const char* name) const;
  [[noreturn]] void refuse(const std::string& what) const;
  [[noreturn]] void refuseField(const char* name, const std::string& value, const char* why) const;

  const NrrdHeader& header_;
  const std::array<std::size_t, 3>& axes_;
  const QString& file_;
  std::vector<double> spaceUnits_;
  NrrdPlace place_;
};

/// Everything is placed in the space of the file, and then turned.
NrrdPlace Placing::place() {
  if (header_.spaceDimension != 0 && header_.spaceDimension != 3)
    refuse("its space has " + std::to_string(header_.spaceDimension) + " dimensions; 3 are needed");
  spaceUnits_ = units("space units", 3);
  for (std::size_t column = 0; column < 3; ++column) {
    if (!header_.spaceOrigin.empty())
      place_.geometry.origin[column] = header_.spaceOrigin[column] * spaceUnits_[column];
    const std::size_t axis = axes_[column];
    if (!header_.spaceDirections.empty() && header_.spaceDirections[axis]) {
      if (header_.spaceOrigin.empty()) place_.hasOrigin = false;
      placeByDirection(*header_.spaceDirections[axis], column);
    } else {
      placeByEnds(column);
    }
  }
  place_.isOfPatient = turnOf(header_.space).has_value();
  turn();
  requireSoundLattice(place_.geometry, file_);
  return place_;
}

void Placing::placeByDirection(const NrrdHeader::Vector& step, std::size_t column) {
  const std::array<double, 3> scaled = {step[0] * spaceUnits_[0], step[1] * spaceUnits_[1], step[2] * spaceUnits_[2]};
  const double size = std::hypot(scaled[0], scaled[1], scaled[2]);
  place_.geometry.voxelSize[column] = size;
  for (std::size_t row = 0; row < 3; ++row) place_.geometry.direction[3 * row + column] = scaled[row] / size;
}

/// An axis without a direction: told are its spacing, or its ends, or nothing.
void Placing::placeByEnds(std::size_t column) {
  const std::size_t axis = axes_[column];
  double& size = place_.geometry.voxelSize[column];
  const auto least = number("axis mins", axis);
  const auto most = number("axis maxs", axis);
  const bool isNode = endsInCenters(axis);
  const auto steps = static_cast<double>(header_.sizes[axis] - (isNode ? 1 : 0));
  if (axis < header_.spacings.size() && !std::isnan(header_.spacings[axis])) {
    size = header_.spacings[axis];
  } else if (least && most && steps > 0) {
    size = (*most - *least) / steps;
  } else {
    place_.hasVoxelSize = false;
  }
  const double unit = units("units", header_.sizes.size())[axis];
  if (header_.spaceOrigin.empty()) {
    if (least)
      place_.geometry.origin[column] = (*least + (isNode ? 0.0 : size / 2)) * unit;
    else
      place_.hasOrigin = false;
  }
  size *= unit;
}

void Placing::turn() {
  const std::array<double, 3> signs = turnOf(header_.space).value_or(std::array<double, 3>{1, 1, 1});
  HxGeometry3& geometry = place_.geometry;
  for (std::size_t row = 0; row < 3; ++row) {
    // The sums make 0 of -0.
    geometry.origin[row] = signs[row] * geometry.origin[row] + 0.0;
    for (std::size_t column = 0; column < 3; ++column)
      geometry.direction[3 * row + column] = signs[row] * geometry.direction[3 * row + column] + 0.0;
  }
}

/// Millimetres in the units of a field, "mm" "um" ..., as many as there are; 1 for those not told.
std::vector<double> Placing::units(const char* name, std::size_t count) const {
  const std::string* const value = text(name);
  if (!value) return std::vector<double>(count, 1.0);
  std::vector<double> units;
  for (std::size_t start = value->find('"'); start != std::string::npos;) {
    const std::size_t end = value->find('"', start + 1);
    if (end == std::string::npos) break;
    const auto unit = knownUnits().find(std::string_view(*value).substr(start + 1, end - start - 1));
    if (unit == knownUnits().end()) refuseField(name, *value, "units of length that are known are needed");
    units.push_back(unit->second);
    start = value->find('"', end + 1);
  }
  if (units.size() != count) refuseField(name, *value, "a unit in quotes for each axis is needed");
  return units;
}

/// The number for an axis in a field with one for each; nothing when there is none.
std::optional<double> Placing::number(const char* name, std::size_t axis) const {
  const std::string* const value = text(name);
  if (!value) return std::nullopt;
  const auto numbers = numbersIn(*value);
  if (!numbers || numbers->size() != header_.sizes.size())
    refuseField(name, *value, "a number for each axis is needed");
  const double number = (*numbers)[axis];
  return std::isnan(number) ? std::nullopt : std::optional(number);
}

/// Whether the ends of an axis are the centres of its first and last elements, and not their outer sides.
bool Placing::endsInCenters(std::size_t axis) const {
  const std::string* value = text("centers");
  if (!value) value = text("centerings");
  if (!value) return false;
  std::istringstream words(*value);
  std::string word;
  for (std::size_t i = 0; i <= axis; ++i) words >> word;
  return word == "node";
}

const std::string* Placing::text(const char* name) const {
  const auto found = header_.others.find(name);
  return found == header_.others.end() ? nullptr : &found->second;
}

void Placing::refuse(const std::string& what) const {
  throw McException(McException::excerpt(file_.toStdString()) + ": " + what);
}

void Placing::refuseField(const char* name, const std::string& value, const char* why) const {
  refuse(std::string("field \"") + name + "\" is \"" + McException::excerpt(value) + "\": " + why);
}

}  // namespace

NrrdPlace nrrdPlace(const NrrdHeader& header, const std::array<std::size_t, 3>& axes, const QString& file) {
  return Placing(header, axes, file).place();
}

void setNrrdPlace(NrrdHeader& header, const HxGeometry3& geometry, std::size_t listAxes) {
  header.space = ourSpace;
  header.spaceDimension = 3;
  header.spaceOrigin.assign(geometry.origin.begin(), geometry.origin.end());
  header.spaceDirections.assign(listAxes, std::nullopt);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    NrrdHeader::Vector step(3);
    // The sum makes 0 of -0.
    for (std::size_t i = 0; i < 3; ++i) step[i] = geometry.direction[3 * i + axis] * geometry.voxelSize[axis] + 0.0;
    header.spaceDirections.emplace_back(step);
  }
}

}  // namespace quarn
