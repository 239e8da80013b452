#pragma once

#include <QByteArray>

/// A variable of the environment, set while the object lives.
class EnvironmentScope {
public:
  EnvironmentScope(const char* name, const char* value) : name_(name) { qputenv(name, value); }
  ~EnvironmentScope() { qunsetenv(name_); }
  EnvironmentScope(const EnvironmentScope&) = delete;
  EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
  const char* name_;
};
