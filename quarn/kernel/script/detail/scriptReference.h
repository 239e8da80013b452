#pragma once

#include <QString>

namespace quarn::detail {

/// The page of all commands as Markdown: those of the host, of each class of which objects can be made, and of their
/// ports. It is made of the tables from which help comes, asking one new object of each class.
QString scriptReference();

}  // namespace quarn::detail
