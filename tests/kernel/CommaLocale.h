#pragma once

/// Gives the process a locale whose decimal separator is a comma while it lives. The locale is made by localedef from
/// the sources of the package "locales" when the system has none; the test fails when that is missing, too.
class CommaLocale {
public:
  CommaLocale();
  ~CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  /// Folder of the locale for the variable LOCPATH of another process; its name is de_DE.UTF-8.
  static const char* folder();
};
