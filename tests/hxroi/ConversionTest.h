#pragma once

#include <string>
#include <vector>

#include "RoisTest.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"

/// A module that turns label fields into sets.
class ConversionTest : public RoisTest {
protected:
  /// Converts `field` and gives the result.
  HxRois* convert(HxUniformLabelField3* field) {
    EXPECT_TRUE(module->dataConnection.connect(field));
    module->portDoIt.hit(0);
    module->fire(1);
    return dynamic_cast<HxRois*>(module->resultObject(0));
  }

  static std::vector<std::string> namesIn(const HxRois& set) {
    std::vector<std::string> names;
    for (const auto& roi : set) names.push_back(roi->name());
    return names;
  }

  const McHandle<HxUniformLabelField3ToHxRois> module{new HxUniformLabelField3ToHxRois};
};
