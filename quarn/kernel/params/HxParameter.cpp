#include "quarn/kernel/params/HxParameter.h"

#include <array>
#include <charconv>
#include <cmath>

namespace {

std::string printList(const std::vector<double>& reals) {
  std::string text;
  for (const double real : reals) {
    if (!text.empty()) text += ' ';
    text += HxParameter::printReal(real);
  }
  return text;
}

}  // namespace

HxParameter::HxParameter(std::string_view name, int count, const float* reals)
    : HxParameter(name, Value(std::vector<double>(reals, reals + count))) {}

HxParameter::~HxParameter() = default;

std::unique_ptr<HxParamBase> HxParameter::clone() const {
  return std::make_unique<HxParameter>(*this);
}

const char* HxParameter::typeName(Type type) {
  switch (type) {
    case Type::Text:
      return "text";
    case Type::Integer:
      return "integer";
    case Type::Real:
      return "real";
    case Type::Reals:
      return "reals";
  }
  return "";
}

std::optional<std::string> HxParameter::text() const {
  const auto* text = std::get_if<std::string>(&value_);
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::int64_t> HxParameter::integer() const {
  const auto* number = std::get_if<std::int64_t>(&value_);
  return number ? std::optional(*number) : std::nullopt;
}

std::optional<double> HxParameter::real() const {
  if (const auto number = integer()) return static_cast<double>(*number);
  const auto* real = std::get_if<double>(&value_);
  return real ? std::optional(*real) : std::nullopt;
}

std::optional<std::vector<double>> HxParameter::reals() const {
  const auto* reals = std::get_if<std::vector<double>>(&value_);
  return reals ? std::optional(*reals) : std::nullopt;
}

std::string HxParameter::print() const {
  switch (type()) {
    case Type::Text:
      return std::get<std::string>(value_);
    case Type::Integer:
      return std::to_string(std::get<std::int64_t>(value_));
    case Type::Real:
      return printReal(std::get<double>(value_));
    case Type::Reals:
      return printList(std::get<std::vector<double>>(value_));
  }
  return {};
}

std::string HxParameter::printReal(double real) {
  std::array<char, 32> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real).ptr;
  std::string text(buffer.data(), end);
  // A real must not read back as an integer.
  if (std::isfinite(real) && text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}
