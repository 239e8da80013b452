#pragma once

#include <QAbstractSpinBox>
#include <cstdint>
#include <functional>

namespace quarn::detail {

/// A spin box for numbers of 64 bits, which Qt's own cannot hold. Numbers are read and shown without the locale.
class WholeNumberBox : public QAbstractSpinBox {
public:
  /// `onChange` is told what the user chose, not what setValue() was given.
  WholeNumberBox(std::int64_t minimum, std::int64_t maximum, std::function<void(std::int64_t)> onChange,
                 QWidget* parent);

  std::int64_t value() const { return value_; }
  void setValue(std::int64_t value);

  void stepBy(int steps) override;
  QValidator::State validate(QString& input, int& position) const override;
  void fixup(QString& input) const override;

protected:
  StepEnabled stepEnabled() const override;

private:
  std::int64_t typed() const;
  void choose(std::int64_t value);

  const std::int64_t minimum_, maximum_;
  const std::function<void(std::int64_t)> onChange_;
  std::int64_t value_ = 0;
};

}  // namespace quarn::detail
