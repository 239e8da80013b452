#include <QApplication>
#include <gmock/gmock.h>

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleMock(&argc, argv);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
