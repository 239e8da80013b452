#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <string>

/// What a run of the program left behind.
struct Outcome {
  int status = -1;  ///< exit status; -1 when the program crashed or did not end
  std::string output;
  std::string errors;
};

/// Runs the real executable, with a folder of its own for files.
class Program {
public:
  Program();

  /// Writes a file into the folder and returns its path.
  QString write(const QString& name, const QByteArray& content) const;
  QString file(const QString& name) const { return folder_.filePath(name); }
  QString folder() const { return folder_.path(); }

  /// Runs with these arguments; standard input is `input` and then its end.
  Outcome run(const QStringList& arguments, const QByteArray& input = {}) const;
  /// Runs a script of this text.
  Outcome runScript(const QByteArray& script, const QStringList& arguments = {}) const;

  QProcessEnvironment environment;

private:
  QTemporaryDir folder_;
};
