#include "quarn/kernel/ports/detail/WholeNumberBox.h"

#include <QLineEdit>
#include <algorithm>

namespace quarn::detail {
namespace {

/// `value` plus `steps`, held inside the bounds also where the sum would not fit.
std::int64_t stepped(std::int64_t value, std::int64_t steps, std::int64_t minimum, std::int64_t maximum) {
  std::int64_t sum;
  if (__builtin_add_overflow(value, steps, &sum)) return steps > 0 ? maximum : minimum;
  return std::clamp(sum, minimum, maximum);
}

}  // namespace

WholeNumberBox::WholeNumberBox(std::int64_t minimum, std::int64_t maximum, std::function<void(std::int64_t)> onChange,
                               QWidget* parent)
    : QAbstractSpinBox(parent), minimum_(minimum), maximum_(maximum), onChange_(std::move(onChange)) {
  setValue(std::clamp<std::int64_t>(0, minimum, maximum));
  connect(this, &QAbstractSpinBox::editingFinished, this, [this] { choose(typed()); });
}

void WholeNumberBox::setValue(std::int64_t value) {
  value_ = value;
  lineEdit()->setText(QString::number(value));
}

std::int64_t WholeNumberBox::typed() const {
  bool isNumber;
  const std::int64_t number = lineEdit()->text().trimmed().toLongLong(&isNumber);
  return isNumber ? std::clamp(number, minimum_, maximum_) : value_;
}

void WholeNumberBox::choose(std::int64_t value) {
  if (value == value_) return lineEdit()->setText(QString::number(value));
  setValue(value);
  onChange_(value);
}

void WholeNumberBox::stepBy(int steps) {
  choose(stepped(typed(), steps, minimum_, maximum_));
}

QValidator::State WholeNumberBox::validate(QString& input, int&) const {
  const QString text = input.trimmed();
  if (text.isEmpty() || (text == "-" && minimum_ < 0)) return QValidator::Intermediate;
  bool isNumber;
  const std::int64_t number = text.toLongLong(&isNumber);
  if (!isNumber) return QValidator::Invalid;
  return number >= minimum_ && number <= maximum_ ? QValidator::Acceptable : QValidator::Intermediate;
}

void WholeNumberBox::fixup(QString& input) const {
  bool isNumber;
  const std::int64_t number = input.trimmed().toLongLong(&isNumber);
  input = QString::number(isNumber ? std::clamp(number, minimum_, maximum_) : value_);
}

QAbstractSpinBox::StepEnabled WholeNumberBox::stepEnabled() const {
  StepEnabled enabled = StepNone;
  if (value_ > minimum_) enabled |= StepDownEnabled;
  if (value_ < maximum_) enabled |= StepUpEnabled;
  return enabled;
}

}  // namespace quarn::detail
