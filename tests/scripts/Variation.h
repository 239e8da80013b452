#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// The circumstances under which the tests run; one at a time. Everything is as before when it ends.
class Variation {
public:
  /// plain, smallTiles, littleMemory, reloaded (each set is saved and loaded again after each statement) or oneThread
  /// (pieces of a split are filled without a second thread).
  static QStringList names();

  explicit Variation(const QString& name);
  ~Variation();
  Variation(const Variation&) = delete;
  Variation& operator=(const Variation&) = delete;

  /// After a statement.
  void statementEnded();

private:
  const bool reloads_;
  QTemporaryDir folder_;
  QString tileSize_, memory_;
};
