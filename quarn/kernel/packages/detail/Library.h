#pragma once

#include <QString>

namespace quarn::detail {

/// An opened shared library, its symbols kept to itself. Closes itself.
class Library {
public:
  Library() = default;
  /// Throws McException with the loader's reason.
  explicit Library(const QString& file);
  ~Library();
  Library(Library&& other) noexcept;
  Library& operator=(Library&& other) noexcept;

  /// The function of that C name. Throws McException naming library and symbol when there is none.
  template <class Function>
  Function* function(const QString& symbol) const {
    return reinterpret_cast<Function*>(address(symbol));
  }

private:
  void* address(const QString& symbol) const;

  QString file_;
  void* handle_ = nullptr;
};

}  // namespace quarn::detail
