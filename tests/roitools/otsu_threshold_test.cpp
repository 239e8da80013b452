#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/FieldRegion.h"
#include "roitools/otsuThreshold.h"

namespace {

using roitools::FieldRegion;
using roitools::otsuThreshold;
using Field = McHandle<HxUniformScalarField3>;

Field fieldOf(const std::vector<double>& values, McPrimType type, const McDim3l& size) {
  Field field(new HxUniformScalarField3(size, type));
  field->visitValues([&](auto* out) {
    std::transform(values.begin(), values.end(), out,
                   [](double value) { return static_cast<std::remove_reference_t<decltype(*out)>>(value); });
  });
  return field;
}

Field fieldOf(const std::vector<double>& values, McPrimType type) {
  return fieldOf(values, type, {static_cast<std::int64_t>(values.size()), 1, 1});
}

double thresholdOf(const Field& field) {
  return otsuThreshold(*field, FieldRegion(field->latticeDimensions()), {}).value();
}

/// 3000 numbers of two kinds, by a generator that is easy to write down elsewhere.
std::vector<double> twoKinds() {
  std::vector<double> values;
  std::uint32_t x = 1;
  for (int i = 0; i < 3000; ++i) {
    x = x * 1664525 + 1013904223;
    const std::uint32_t r = x >> 16;
    values.push_back(i % 3 != 0 ? 20 + r % 60 : 120 + r % 100);
  }
  return values;
}

/// Sum of the squared distances of the values from the means of the two classes that a threshold makes.
long double spreadOf(const std::vector<double>& values, double threshold) {
  long double sums[2] = {}, counts[2] = {}, spread = 0;
  for (const double value : values) {
    sums[value >= threshold] += value;
    counts[value >= threshold] += 1;
  }
  for (const double value : values) {
    const long double distance = value - sums[value >= threshold] / counts[value >= threshold];
    spread += distance * distance;
  }
  return spread;
}

/// Tries every division, and takes the first one with the least spread.
double byTrying(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  long double least = std::numeric_limits<long double>::infinity();
  double threshold = 0;
  for (auto upper = values.begin() + 1; upper != values.end(); ++upper) {
    if (*upper == *(upper - 1)) continue;
    const long double sum = spreadOf(values, *upper);
    if (sum >= least) continue;
    least = sum;
    threshold = *upper;
  }
  return threshold;
}

constexpr McPrimType kTypes[] = {McPrimType::Uint8,  McPrimType::Int8,  McPrimType::Uint16, McPrimType::Int16,
                                 McPrimType::Uint32, McPrimType::Int32, McPrimType::Float,  McPrimType::Double};

/// The expected numbers come from exact fractions in Python:
///
///     from fractions import Fraction as F
///     x=1; v=[]
///     for i in range(3000):
///         x=(x*1664525+1013904223)%2**32; r=x>>16
///         v.append(20+r%60 if i%3 else 120+r%100)
///     def otsu(v):
///         n=len(v); s=sum(v); best=None
///         for t in sorted(set(v))[1:]:
///             low=[a for a in v if a<t]
///             d=F(sum(low),len(low))-F(s-sum(low),n-len(low))
///             b=len(low)*(n-len(low))*d*d
///             if best is None or b>best[0]: best=(b,t)
///         return best[1]
///     print(otsu(v), otsu([a*a for a in v]))        # 120 17424
TEST(OtsuThreshold, IsThatOfAnotherProgram) {
  std::vector<double> values = twoKinds();
  for (const McPrimType type : {McPrimType::Uint8, McPrimType::Int16, McPrimType::Float})
    EXPECT_EQ(thresholdOf(fieldOf(values, type)), 120) << HxUniformScalarField3::primTypeName(type);
  for (double& value : values) value *= value;
  for (const McPrimType type : {McPrimType::Uint16, McPrimType::Int32, McPrimType::Double})
    EXPECT_EQ(thresholdOf(fieldOf(values, type)), 17424) << HxUniformScalarField3::primTypeName(type);
}

TEST(OtsuThreshold, IsTheBestOfAllDivisions) {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  for (int run = 0; run < 40; ++run) {
    const int count = 2 + static_cast<int>(random() % 400), range = 2 + static_cast<int>(random() % 120);
    std::vector<double> values;
    for (int i = 0; i < count; ++i) values.push_back(static_cast<double>(random() % static_cast<unsigned>(range)));
    values.push_back(0);
    values.push_back(127);
    const double best = byTrying(values);
    for (const McPrimType type : kTypes) {
      const double threshold = thresholdOf(fieldOf(values, type));
      // Divisions may be equal, and bins may take another one of two that are almost so.
      const bool isExact = type != McPrimType::Float && type != McPrimType::Double;
      const long double tolerance = isExact ? 1e-12L : 1e-3L;
      ASSERT_LE(spreadOf(values, threshold), (1 + tolerance) * spreadOf(values, best))
          << HxUniformScalarField3::primTypeName(type) << " " << threshold << " " << best;
    }
  }
}

TEST(OtsuThreshold, LowAndHighEndsOfEveryType) {
  for (const McPrimType type : kTypes) {
    const Field field(new HxUniformScalarField3(McDim3l(3, 1, 1), type));
    const double highest = field->visitValues([](auto* values) {
      using T = std::remove_reference_t<decltype(*values)>;
      values[0] = std::numeric_limits<T>::lowest();
      values[1] = values[2] = std::numeric_limits<T>::max();
      return static_cast<double>(values[2]);
    });
    EXPECT_EQ(thresholdOf(field), highest) << HxUniformScalarField3::primTypeName(type);
  }
}

TEST(OtsuThreshold, DividesTheSmallestNumbers) {
  const double least = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ(thresholdOf(fieldOf({0, 0, least}, McPrimType::Double)), least);
}

TEST(OtsuThreshold, LeavesOutWhatIsNotFinite) {
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
  for (const McPrimType type : {McPrimType::Float, McPrimType::Double})
    EXPECT_EQ(thresholdOf(fieldOf({nan, 1, infinity, 1, 2, 9, -infinity, 10, nan}, type)), 9);
}

TEST(OtsuThreshold, OneValueCannotBeDivided) {
  const double nan = std::nan("");
  for (const auto& values : {std::vector<double>{5, 5, 5}, std::vector<double>{nan, nan}, std::vector<double>{nan, 7}})
    EXPECT_THROW(thresholdOf(fieldOf(values, McPrimType::Float)), McException);
  EXPECT_THROW(thresholdOf(Field(new HxUniformScalarField3)), McException);
}

TEST(OtsuThreshold, LooksInsideTheRegionOnly) {
  std::vector<double> values(40 * 40 * 40, 200);
  const auto volume = hxvoxora::makeRef<SoVolumeMask>();
  volume->initializeInMemory({40, 40, 40}, {32, 8, 8});
  const int transaction = volume->beginTransaction();
  volume->fillBox(SbBox3i32(SbVec3i32(5, 5, 5), SbVec3i32(34, 34, 34)), 1);
  volume->endTransaction(transaction);
  for (int z = 5; z < 35; ++z) {
    for (int y = 5; y < 35; ++y) {
      for (int x = 5; x < 35; ++x) values[static_cast<std::size_t>((z * 40 + y) * 40 + x)] = x < 20 ? 10 + y : 60 + y;
    }
  }
  const Field field = fieldOf(values, McPrimType::Uint8, {40, 40, 40});
  const FieldRegion region(field->latticeDimensions(), volume->snapshot());
  EXPECT_EQ(otsuThreshold(*field, region, {}), 65);
}

TEST(OtsuThreshold, GivesUpInEachOfItsWalks) {
  const Field field = fieldOf(std::vector<double>(100, 1), McPrimType::Uint8);
  field->setValue(0, 0, 0, 9);
  const FieldRegion region(field->latticeDimensions());
  double last = 0;
  const auto upTo = [&last](double end) {
    return [&last, end](double fraction) {
      last = fraction;
      return fraction < end;
    };
  };
  for (const double end : {0.0, 0.4, 0.7}) EXPECT_FALSE(otsuThreshold(*field, region, upTo(end))) << end;
  EXPECT_EQ(otsuThreshold(*field, region, upTo(2)), 9);
  EXPECT_EQ(last, 1);
}

}  // namespace
