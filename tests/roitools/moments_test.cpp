#include "roitools/Moments.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

using roitools::Moments;

namespace {

struct Plain {
  double mean = 0.0;
  double sd = 0.0;
};

Plain plain(const std::vector<double>& values) {
  long double sum = 0.0L;
  for (const double value : values) sum += value;
  const long double mean = sum / static_cast<long double>(values.size());
  long double squares = 0.0L;
  for (const double value : values) squares += (value - mean) * (value - mean);
  return {static_cast<double>(mean),
          static_cast<double>(std::sqrt(squares / static_cast<long double>(values.size() - 1)))};
}

}  // namespace

TEST(Moments, AreEmptyAtFirst) {
  const Moments moments;
  EXPECT_EQ(moments.count, 0u);
  EXPECT_EQ(moments.standardDeviation(), 0.0);
}

TEST(Moments, OfOneValueHaveNoDeviation) {
  Moments moments;
  const float value = 7.5F;
  moments.add(&value, 1);
  EXPECT_EQ(moments.count, 1u);
  EXPECT_EQ(moments.mean, 7.5);
  EXPECT_EQ(moments.standardDeviation(), 0.0);
  EXPECT_EQ(moments.minimum, 7.5);
  EXPECT_EQ(moments.maximum, 7.5);
}

TEST(Moments, LeaveOutWhatIsNotANumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> values{1.0, nan, 3.0, nan};
  Moments moments;
  moments.add(values.data(), values.size());
  EXPECT_EQ(moments.count, 2u);
  EXPECT_EQ(moments.mean, 2.0);
  EXPECT_DOUBLE_EQ(moments.standardDeviation(), std::sqrt(2.0));
  EXPECT_EQ(moments.minimum, 1.0);
  EXPECT_EQ(moments.maximum, 3.0);
}

TEST(Moments, AreExactUnderALargeOffset) {
  std::vector<double> values;
  for (int i = 0; i < 1000; ++i) values.push_back(1e9 + i % 7);
  Moments moments;
  for (std::size_t at = 0; at < values.size(); at += 10) moments.add(values.data() + at, 10);
  const Plain expected = plain(values);
  EXPECT_NEAR(moments.mean, expected.mean, 1e-5);
  EXPECT_NEAR(moments.standardDeviation(), expected.sd, 1e-9);
}

TEST(Moments, OfPartsAreThoseOfTheWhole) {
  std::mt19937_64 random(20261121);
  std::normal_distribution<double> normal(100.0, 15.0);
  std::vector<double> values(5000);
  for (double& value : values) value = normal(random);
  Moments joined;
  for (std::size_t at = 0; at < values.size();) {
    const std::size_t n = std::min<std::size_t>(values.size() - at, 1 + random() % 97);
    Moments part;
    part.add(values.data() + at, n);
    joined.join(part);
    at += n;
  }
  const Plain expected = plain(values);
  EXPECT_EQ(joined.count, values.size());
  EXPECT_NEAR(joined.mean, expected.mean, 1e-10);
  EXPECT_NEAR(joined.standardDeviation(), expected.sd, 1e-10);
}
