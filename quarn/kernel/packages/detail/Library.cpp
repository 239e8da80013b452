#include "quarn/kernel/packages/detail/Library.h"

#include <QFile>
#include <dlfcn.h>
#include <utility>

#include "quarn/base/McException.h"

namespace quarn::detail {
namespace {

std::string loaderError() {
  const char* const text = dlerror();
  return text ? McException::excerpt(text) : "unknown reason";
}

}  // namespace

Library::Library(const QString& file) : file_(file) {
  handle_ = dlopen(QFile::encodeName(file).constData(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) throw McException(file.toStdString() + ": cannot be opened: " + loaderError());
}

Library::~Library() {
  if (handle_) dlclose(handle_);
}

Library::Library(Library&& other) noexcept
    : file_(std::move(other.file_)), handle_(std::exchange(other.handle_, nullptr)) {}

Library& Library::operator=(Library&& other) noexcept {
  std::swap(file_, other.file_);
  std::swap(handle_, other.handle_);
  return *this;
}

void* Library::address(const QString& symbol) const {
  void* const found = handle_ ? dlsym(handle_, symbol.toLatin1().constData()) : nullptr;
  if (!found)
    throw McException(file_.toStdString() + ": has no function " + McException::excerpt(symbol.toStdString()));
  return found;
}

}  // namespace quarn::detail
