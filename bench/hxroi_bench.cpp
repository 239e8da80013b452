#include "bench/hxroi_bench.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <string>

#include "bench/measure.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxMessageSink.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxSettingsMgr.h"

/// ROIs and ROI sets. Temporary storage lies in a folder of the run.

namespace {

/// Keeps the console quiet; what is reported as an error goes to standard error.
class QuietSink : public HxMessageSink {
public:
  void console(const std::string&) override {}
  void error(const QString& text) override { report(text); }
  void warning(const QString& text) override { report(text); }
  void critical(const QString& title, const QString& text) override { report(title + ": " + text); }
  void ioError(const QString& fileName) override { report("cannot read or write " + fileName); }

private:
  static void report(const QString& text) { qWarning("%s", qUtf8Printable(text)); }
};

}  // namespace

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const bench::ScratchFolder folder;
  HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(QString::fromStdString(folder.path()));
  QuietSink sink;
  HxMessage::setSink(&sink);

  bench::addMaskBenchmarks();
  bench::addAtlasBenchmarks();
  bench::addSetBenchmarks();
  bench::addTreeBenchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  HxMessage::setSink(nullptr);
  return 0;
}
