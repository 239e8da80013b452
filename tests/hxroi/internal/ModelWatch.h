#pragma once

#include <QAbstractItemModel>
#include <QString>
#include <QStringList>
#include <QtGlobal>
#include <QtTest/QAbstractItemModelTester>
#include <memory>

/// Lets Qt's own tester look at a model for as long as it lives. Its findings are failures of the test, but for one:
/// the invalid index of a tree of ROIs is enabled, so that views take drops between the rows of the top level.
class ModelWatch {
public:
  explicit ModelWatch(QAbstractItemModel* model);
  ~ModelWatch();
  ModelWatch(const ModelWatch&) = delete;
  ModelWatch& operator=(const ModelWatch&) = delete;

private:
  static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);

  QtMessageHandler former_;
  std::unique_ptr<QAbstractItemModelTester> tester_;
};
