#pragma once

#include <QString>
#include <itkOutputWindow.h>
#include <sstream>

namespace quarn::formats::detail {

/// While it lives, what the imaging toolkit would print goes to the console, a line each, after the name of a file;
/// what its numerical library prints on std::cerr about its own steps is dropped. Failures come as exceptions all the
/// same. The toolkit has one such place for the process: one at a time, on the user-interface thread.
class ToolkitMessages {
public:
  explicit ToolkitMessages(const QString& file);
  ~ToolkitMessages();
  ToolkitMessages(const ToolkitMessages&) = delete;
  ToolkitMessages& operator=(const ToolkitMessages&) = delete;

private:
  itk::OutputWindow::Pointer former_;
  std::ostringstream dropped_;
  std::streambuf* formerErrors_;
};

}  // namespace quarn::formats::detail
