#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/kernel/export.h"

/// A named element of a parameter tree: a parameter or a bundle of them.
///
/// Names consist of ASCII letters, digits, "_" and "-"; every other character of a given name (Latin-1: one byte each)
/// is replaced by "_". The empty name stays empty, names of digits stay as they are.
class QUARN_KERNEL_API HxParamBase {
public:
  /// Flags, to be combined.
  enum Flag : int {
    Hidden = 2,                                          ///< not listed to the user
    Permanent = 4,                                       ///< not removed by the user
    NameLocked = 32,                                     ///< setName() is refused
    Fixed = 64,                                          ///< not changed by the user
    Internal = Hidden | Permanent | NameLocked | Fixed,  ///< belongs to the program: 102
  };
  /// Font-style flags, for the presentation only.
  enum FontStyleFlag : int { Bold = 1, Italic = 2 };

  virtual ~HxParamBase();

  virtual bool isBundle() const = 0;
  /// A deep copy with name, value and all flags.
  virtual std::unique_ptr<HxParamBase> clone() const = 0;

  const std::string& name() const { return name_; }
  /// False, and nothing is changed, when the name is locked.
  bool setName(std::string_view name);
  /// `name` by the rule above.
  static std::string normalizedName(std::string_view name);

  /// True when all bits of `flags` are set.
  bool getFlag(int flags) const { return (flags_ & flags) == flags; }
  void setFlag(int flags, bool on) { flags_ = on ? flags_ | flags : flags_ & ~flags; }
  int flags() const { return flags_; }

  /// Kept by copies, not by files.
  bool getFontStyleFlag(int flags) const { return (fontStyleFlags_ & flags) == flags; }
  void setFontStyleFlag(int flags, bool on) {
    fontStyleFlags_ = on ? fontStyleFlags_ | flags : fontStyleFlags_ & ~flags;
  }

protected:
  explicit HxParamBase(std::string_view name) : name_(normalizedName(name)) {}
  HxParamBase(const HxParamBase&) = default;
  HxParamBase& operator=(const HxParamBase&) = default;

private:
  std::string name_;
  int flags_ = 0;
  int fontStyleFlags_ = 0;
};
