#pragma once

#include <QString>
#include <QStringList>
#include <set>

class HxConnection;
class HxData;
class HxObject;
class HxPort;

namespace quarn::detail {

/// Writes the objects of the pool as the script of a network.
///
/// Object by object, each after all that it is connected to: first the lines that bring it about, then its connections,
/// then the states of its ports, then its evaluation. So whatever a line names is there, a module is ready when it is
/// asked to make its result again, and ports that an object makes for itself when it is evaluated are there before
/// their states.
class NetworkWriter {
public:
  /// `folder` is where the network will lie.
  explicit NetworkWriter(const QString& folder) : folder_(folder.toLocal8Bit()) {}

  /// Everything behind the first line.
  QString write();

  /// What does not come back as it is, one "NAME: why" each.
  const QStringList& problems() const { return problems_; }

private:
  struct Fate {
    bool comesBack = true;
    QString problem;  ///< empty for an object that comes back as it is
  };

  Fate fateOf(HxObject& object) const;
  Fate fateOfData(HxData& data) const;
  Fate fateOfFile(HxData& data) const;
  Fate fateOfResult(HxData& data) const;
  bool hasInput(const HxObject& module, const HxData& result) const;
  QString problemOfSources(const HxObject& module) const;
  void write(HxObject& object);
  void writeCreation(HxObject& object);
  void writeLabel(const HxObject& object, bool isMade);
  bool writeConnections(const HxObject& object, bool isMade);
  bool writeMaster(const HxData& data);
  bool writeConnection(const HxObject& object, const HxConnection& connection);
  bool writeState(const HxObject& object, const HxPort& port);
  void writeEntries(const HxObject& object);
  QStringList addressOf(const HxObject& object, const HxPort& port) const;
  void writeLine(const QStringList& words);
  void writeComment(const QString& text);

  const QByteArray folder_;
  QString text_;
  QStringList problems_;
  std::set<const HxObject*> written_;
  std::set<const HxObject*> different_;  ///< of those written: what does not come back as it is
};

}  // namespace quarn::detail
