#pragma once

#include <string>

#include "hxroi/export.h"
#include "quarn/base/McException.h"

namespace hxroi {

/// The end of a whole save, and not of one mask of it.
class HXROI_API SaveStopped : public McException {
public:
  enum class Reason {
    failure,     ///< the set in place is as it was
    interrupt,   ///< the same, as the user wished
    unfinished,  ///< the set is saved, but its files are not all in their places
  };

  SaveStopped(Reason reason, const std::string& text) : McException(text), reason_(reason) {}
  SaveStopped(const SaveStopped&) noexcept = default;
  SaveStopped& operator=(const SaveStopped&) noexcept = default;
  ~SaveStopped() override;

  Reason reason() const { return reason_; }

private:
  Reason reason_;
};

}  // namespace hxroi
