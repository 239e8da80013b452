#pragma once

#include <string>

#include "quarn/base/McInterface.h"

/// An interface that the test program knows and the test module offers.
class __attribute__((visibility("default"))) Beacon : public McInterface {
public:
  using McInterface::McInterface;
  virtual std::string color() const = 0;
};
