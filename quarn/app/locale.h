#pragma once

namespace quarn::app {

/// Makes sure that texts of the process are UTF-8, in the user's language where that is possible. Before Qt starts.
void useUtf8Locale();

/// Numbers are read and written without the locale. After Qt has started, which sets the user's locale.
void usePlainNumbers();

}  // namespace quarn::app
