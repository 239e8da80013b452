#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/kernel/params/HxParamBase.h"

/// A parameter: a name and a value that keeps its type. Types are text (bytes, UTF-8 by convention), integer (64 bits),
/// real (double) and a list of reals (doubles). Floats are widened, which changes no value.
class QUARN_KERNEL_API HxParameter : public HxParamBase {
public:
  using Value = std::variant<std::string, std::int64_t, double, std::vector<double>>;
  enum class Type { Text, Integer, Real, Reals };

  HxParameter(std::string_view name, Value value) : HxParamBase(name), value_(std::move(value)) {}
  HxParameter(std::string_view name, const char* text) : HxParameter(name, Value(std::string(text))) {}
  HxParameter(std::string_view name, const std::string& text) : HxParameter(name, Value(text)) {}
  HxParameter(std::string_view name, const QString& text) : HxParameter(name, Value(text.toStdString())) {}
  HxParameter(std::string_view name, int number) : HxParameter(name, Value(std::int64_t{number})) {}
  HxParameter(std::string_view name, std::int64_t number) : HxParameter(name, Value(number)) {}
  HxParameter(std::string_view name, float real) : HxParameter(name, Value(double{real})) {}
  HxParameter(std::string_view name, double real) : HxParameter(name, Value(real)) {}
  HxParameter(std::string_view name, std::vector<double> reals) : HxParameter(name, Value(std::move(reals))) {}
  /// `count` floats from `reals`.
  HxParameter(std::string_view name, int count, const float* reals);
  ~HxParameter() override;

  bool isBundle() const override { return false; }
  std::unique_ptr<HxParamBase> clone() const override;

  Type type() const { return static_cast<Type>(value_.index()); }
  /// "text", "integer", "real" or "reals".
  static const char* typeName(Type type);
  const Value& value() const { return value_; }
  void setValue(Value value) { value_ = std::move(value); }

  /// The value when it is of the type; a real also from an integer.
  std::optional<std::string> text() const;
  std::optional<std::int64_t> integer() const;
  std::optional<double> real() const;
  std::optional<std::vector<double>> reals() const;

  /// The value as text: reals as short as they read back exactly, with a point; lists parted by single blanks.
  std::string print() const;
  /// A real as in print(): "0.5", "3.0", "1e+300", "nan", "-inf".
  static std::string printReal(double real);

private:
  Value value_;
};
