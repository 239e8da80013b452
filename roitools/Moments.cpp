#include "roitools/Moments.h"

namespace roitools {

void Moments::join(const Moments& other) {
  if (other.count == 0) return;
  const auto mine = static_cast<double>(count);
  const auto theirs = static_cast<double>(other.count);
  const double difference = other.mean - mean;
  count += other.count;
  mean += difference * theirs / (mine + theirs);
  squares += other.squares + difference * difference * mine * theirs / (mine + theirs);
  minimum = std::min(minimum, other.minimum);
  maximum = std::max(maximum, other.maximum);
}

double Moments::standardDeviation() const {
  return count < 2 ? 0.0 : std::sqrt(squares / static_cast<double>(count - 1));
}

}  // namespace roitools
