#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <tcl.h>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/network/detail/NetworkScript.h"

class HxData;
class HxObject;

namespace quarn::detail {

/// Runs the script of a network.
///
/// It runs in an interpreter of its own in which nothing can reach files or programs. There are Tcl's words for values
/// and loops, `load`, `create` and `nameResult`, and a command for each object that the network has brought about,
/// under the name that the network gives it, whatever the object is called in the pool. Such a command evaluates the
/// object, names it and works on its ports; it does not save or do what else the object can do.
class NetworkReader {
public:
  /// `file` is what messages name; data files are looked for from `folder`.
  NetworkReader(const QString& file, const QString& folder);
  ~NetworkReader();
  NetworkReader(const NetworkReader&) = delete;
  NetworkReader& operator=(const NetworkReader&) = delete;

  /// Runs command by command; what fails is noted and passed over. Throws McException when the user interrupts.
  void run(const QString& text);
  /// What the network did to data, short of changing their content, shows them as they were when it was saved. It is
  /// no change that would be lost.
  void settle();
  /// Throws McException with all failures when there were any.
  void requireComplete() const;
  /// The objects that came, by their names in the pool.
  QStringList names() const;

private:
  /// An object as the network knows it; null when it could not be brought about.
  struct Entry {
    QString name;
    McHandle<HxObject> object;
    int skipped = 0;              ///< commands that were passed over for want of it
    std::uint32_t touchTime = 0;  ///< of a data object, when it came
    bool wasModified = false;     ///< then
  };
  /// After so many commands that cannot even be read a text is no network.
  static constexpr int kMostUnreadable = 10;

  using Words = std::vector<Tcl_Obj*>;
  using Handler = std::function<int(const Words& words)>;

  void define(const QString& name, Handler handler);
  static int runHandler(ClientData handler, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);
  bool runCommand(const ScriptCommand& command);
  void note(int line, const QString& reason);

  int load(const Words& words);
  int create(const Words& words);
  int nameResult(const Words& words);
  int refuse(const Words& words);

  Entry& entryNamed(const QString& name);
  QString bind(const QString& name, HxObject* object);
  void miss(const QString& name);
  int skip(Entry& entry);
  bool isOurs(const HxObject* object) const;
  int runObject(Entry& entry, const Words& words);
  int runPort(const Entry& entry, Words words);
  int runOptional(const Entry& entry, Words words);
  int connect(const Entry& entry, Words words);
  int addToPort(const Entry& entry, Words words);
  int adopt(const Entry& entry, const Words& words);
  QString fromFolder(const QString& file) const;
  void answer(const QStringList& list);
  void tellDifference(const Entry& entry, HxData& data) const;
  QString place(int line) const;

  const QString file_;
  QString folder_;
  Tcl_Interp* interp_;
  std::deque<Handler> handlers_;
  std::map<QString, Entry> entries_;
  std::vector<Entry*> order_;
  QStringList failures_;
  int commands_ = 0;
  int unreadable_ = 0;
};

}  // namespace quarn::detail
