#include "quarn/formats/detail/ToolkitMessages.h"

#include <iostream>

#include "quarn/kernel/app/HxMessage.h"

namespace quarn::formats::detail {

namespace {

/// The toolkit's output window, with a file name in front of each text.
class ConsoleWindow : public itk::OutputWindow {
public:
  using Self = ConsoleWindow;
  using Superclass = itk::OutputWindow;
  using Pointer = itk::SmartPointer<Self>;

  itkTypeMacro(ConsoleWindow, OutputWindow);
  itkFactorylessNewMacro(Self);

  void setFile(const QString& file) { file_ = file; }

  void DisplayText(const char* text) override {
    const QString line = file_ + QStringLiteral(": ") + QString::fromLocal8Bit(text).simplified();
    HxMessage::printf("%s\n", qUtf8Printable(line));
  }

private:
  QString file_;
};

}  // namespace

ToolkitMessages::ToolkitMessages(const QString& file)
    : former_(itk::OutputWindow::GetInstance()), formerErrors_(std::cerr.rdbuf(dropped_.rdbuf())) {
  const ConsoleWindow::Pointer window = ConsoleWindow::New();
  window->setFile(file);
  itk::OutputWindow::SetInstance(window);
}

ToolkitMessages::~ToolkitMessages() {
  std::cerr.rdbuf(formerErrors_);
  itk::OutputWindow::SetInstance(former_);
}

}  // namespace quarn::formats::detail
