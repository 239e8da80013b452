#pragma once

namespace hxroi::details {

/// For places that must not throw. Prints "what: why" on the console; never throws.
void logFailure(const char* what, const char* why) noexcept;

/// The same as an error message, for failures that cost the user's work.
void reportLoss(const char* what, const char* why) noexcept;

}  // namespace hxroi::details
