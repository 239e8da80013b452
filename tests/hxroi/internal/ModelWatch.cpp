#include "tests/hxroi/internal/ModelWatch.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <string_view>

ModelWatch::ModelWatch(QAbstractItemModel* model) : former_(qInstallMessageHandler(handle)) {
  tester_ = std::make_unique<QAbstractItemModelTester>(model, QAbstractItemModelTester::FailureReportingMode::Warning);
}

ModelWatch::~ModelWatch() {
  tester_.reset();
  qInstallMessageHandler(former_);
}

void ModelWatch::handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  const bool isFinding = context.category && std::string_view(context.category) == "qt.modeltest";
  if (!isFinding) {
    std::fprintf(stderr, "%s\n", qPrintable(text));
  } else if (type != QtDebugMsg && !text.contains(QStringLiteral("flags == Qt::ItemIsDropEnabled"))) {
    ADD_FAILURE() << text.toStdString();
  }
}
