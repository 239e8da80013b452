#include "quarn/kernel/params/HxParamBundle.h"

#include <algorithm>
#include <limits>
#include <utility>

HxParamBundle::HxParamBundle(const HxParamBundle& other) : HxParamBase(other) {
  elements_.reserve(other.elements_.size());
  for (const auto& element : other.elements_) elements_.push_back(element->clone());
}

HxParamBundle& HxParamBundle::operator=(const HxParamBundle& other) {
  HxParamBundle copied(other);
  HxParamBase::operator=(copied);
  elements_ = std::move(copied.elements_);
  return *this;
}

HxParamBundle::~HxParamBundle() = default;

std::unique_ptr<HxParamBase> HxParamBundle::clone() const {
  return std::make_unique<HxParamBundle>(*this);
}

HxParamBase* HxParamBundle::insert(std::unique_ptr<HxParamBase> element) {
  HxParamBase* inserted = element.get();
  const int index = indexOf(element->name());
  if (index < 0) {
    elements_.push_back(std::move(element));
  } else {
    elements_[static_cast<std::size_t>(index)] = std::move(element);
  }
  return inserted;
}

bool HxParamBundle::remove(int index) {
  if (index < 0 || index >= size()) return false;
  elements_.erase(elements_.begin() + index);
  return true;
}

bool HxParamBundle::remove(std::string_view name) {
  return remove(indexOf(name));
}

int HxParamBundle::indexOf(std::string_view name) const {
  const std::string wanted = normalizedName(name);
  const auto found =
      std::find_if(elements_.begin(), elements_.end(), [&](const auto& element) { return element->name() == wanted; });
  return found == elements_.end() ? -1 : static_cast<int>(found - elements_.begin());
}

HxParamBase* HxParamBundle::findBase(std::string_view name) const {
  const int index = indexOf(name);
  return index < 0 ? nullptr : (*this)[index];
}

HxParameter* HxParamBundle::find(std::string_view name) const {
  return dynamic_cast<HxParameter*>(findBase(name));
}

HxParamBundle* HxParamBundle::getBundle(std::string_view name, bool create) {
  if (auto* bundle = dynamic_cast<HxParamBundle*>(findBase(name))) return bundle;
  if (!create) return nullptr;
  return static_cast<HxParamBundle*>(insert(std::make_unique<HxParamBundle>(name)));
}

const HxParamBundle* HxParamBundle::getBundle(std::string_view name) const {
  return dynamic_cast<const HxParamBundle*>(findBase(name));
}

HxParamBundle* HxParamBundle::getBundle(int index) {
  return const_cast<HxParamBundle*>(std::as_const(*this).getBundle(index));
}

const HxParamBundle* HxParamBundle::getBundle(int index) const {
  if (index < 0) return nullptr;
  for (const auto& element : elements_) {
    if (element->isBundle() && index-- == 0) return static_cast<const HxParamBundle*>(element.get());
  }
  return nullptr;
}

int HxParamBundle::bundleCount() const {
  return static_cast<int>(
      std::count_if(elements_.begin(), elements_.end(), [](const auto& element) { return element->isBundle(); }));
}

bool HxParamBundle::findReal(std::string_view name, double& value) const {
  const HxParameter* parameter = find(name);
  const auto real = parameter ? parameter->real() : std::nullopt;
  if (real) value = *real;
  return real.has_value();
}

bool HxParamBundle::findReal(std::string_view name, float& value) const {
  double real;
  if (!findReal(name, real)) return false;
  value = static_cast<float>(real);
  return true;
}

bool HxParamBundle::findReals(std::string_view name, std::vector<double>& values) const {
  const HxParameter* parameter = find(name);
  auto reals = parameter ? parameter->reals() : std::nullopt;
  if (reals) values = std::move(*reals);
  return reals.has_value();
}

bool HxParamBundle::findReals(std::string_view name, int count, float* values) const {
  std::vector<double> reals;
  if (!findReals(name, reals) || reals.size() != static_cast<std::size_t>(count)) return false;
  std::transform(reals.begin(), reals.end(), values, [](double real) { return static_cast<float>(real); });
  return true;
}

bool HxParamBundle::findNum(std::string_view name, std::int64_t& value) const {
  const HxParameter* parameter = find(name);
  const auto number = parameter ? parameter->integer() : std::nullopt;
  if (number) value = *number;
  return number.has_value();
}

bool HxParamBundle::findNum(std::string_view name, int& value) const {
  std::int64_t number;
  if (!findNum(name, number)) return false;
  if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) return false;
  value = static_cast<int>(number);
  return true;
}

bool HxParamBundle::findString(std::string_view name, std::string& value) const {
  const HxParameter* parameter = find(name);
  auto text = parameter ? parameter->text() : std::nullopt;
  if (text) value = std::move(*text);
  return text.has_value();
}

bool HxParamBundle::findString(std::string_view name, QString& value) const {
  std::string text;
  if (!findString(name, text)) return false;
  value = QString::fromStdString(text);
  return true;
}

HxParameter* HxParamBundle::assign(HxParameter parameter) {
  if (HxParameter* existing = find(parameter.name())) {
    existing->setValue(parameter.value());
    return existing;
  }
  return static_cast<HxParameter*>(insert(std::make_unique<HxParameter>(std::move(parameter))));
}

void HxParamBundle::copy(const HxParamBundle& other, int overwrite) {
  if (&other == this) return;
  for (const auto& element : other.elements_) {
    HxParamBase* existing = findBase(element->name());
    if (existing && existing->isBundle() && element->isBundle()) {
      static_cast<HxParamBundle*>(existing)->copy(static_cast<const HxParamBundle&>(*element), overwrite);
    } else if (!existing || overwrite) {
      insert(element->clone());
    }
  }
}

HxParamBundle* HxParamBundle::getMaterials(int create) {
  return getBundle("Materials", create != 0);
}

bool HxParamBundle::getMaterialColor(McColor& color) const {
  float channels[3];
  if (!findReals("Color", 3, channels)) return false;
  color = McColor(channels[0], channels[1], channels[2]);
  return true;
}

void HxParamBundle::setMaterialColor(const McColor& color) {
  const float channels[3] = {color.r, color.g, color.b};
  set("Color", 3, channels);
}
