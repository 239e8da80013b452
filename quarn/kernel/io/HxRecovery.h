#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxData.h"

/// A piece of work that a process which ended early left in the temporary storage.
struct QUARN_KERNEL_API HxLeftOver {
  QString name;         ///< as the user knows it; may be empty
  QString description;  ///< kind and size, for a line of a list; empty when it cannot be read
  quint64 bytes = 0;    ///< of its files
  QDateTime lastWrite;  ///< UTC
  QString problem;      ///< why it cannot be recovered; empty when it can

  /// Everything in one line.
  QString toText() const;
};

/// What a package tells of left-overs of its own kind. Nothing of processes that live is ever touched. Failures are
/// McException.
class QUARN_KERNEL_API HxRecoveryProvider {
public:
  virtual ~HxRecoveryProvider();

  /// Whether there are any, without reading them.
  virtual bool hasAny() = 0;
  /// All, the oldest first; each is read to its end.
  virtual std::vector<HxLeftOver> list() = 0;
  /// New objects, not in the pool, that hold everything that can be recovered; the left-overs stay.
  virtual std::vector<McHandle<HxData>> load() = 0;
  /// Removes what the last load() made objects of. Returns the number of pieces.
  virtual int discardLoaded() = 0;
  /// What the last load() made objects of stays, and this process does not load it again.
  virtual void keepLoaded() = 0;
  /// Removes all left-overs, those that cannot be recovered too, and returns their number.
  virtual int discardAll() = 0;
  /// Writes what changed in the objects of the pool into the temporary storage, so that it could be recovered.
  virtual void checkpoint() = 0;
  /// The same for objects that are not saved, when the process is about to end: their files stay to be recovered.
  virtual void keepUnsaved() = 0;
};

/// Left-overs of all packages. For the user-interface thread.
class QUARN_KERNEL_API HxRecovery {
public:
  static HxRecovery& instance();

  /// Providers are asked in the order of their coming. Not owned.
  void addProvider(HxRecoveryProvider* provider);
  /// Harmless for a provider that is not there.
  void removeProvider(HxRecoveryProvider* provider);

  /// Whether there are left-overs; false also when that cannot be told. Cheap.
  bool hasAny();
  std::vector<HxLeftOver> list();
  /// Makes objects of all that can be recovered and was not loaded before, in the pool, and returns their names. No
  /// other process can do so until discardLoaded() or keepLoaded().
  QStringList load();
  /// Removes the left-overs of the objects of load(), which are saved now. Returns their number.
  int discardLoaded();
  /// Leaves them, since the objects are not saved yet.
  void keepLoaded();
  int discardAll();

  /// Seconds between checkpoints, 0 for none; 60 unless it was set. The preference "Recovery Interval".
  int interval() const { return interval_; }
  void setInterval(int seconds) { interval_ = seconds; }
  static constexpr int MAXIMUM_INTERVAL = 3600;

  /// Makes a checkpoint when the last one, or the start, is at least the interval ago. Called when no work is under
  /// way: after a command, and while the program waits for one. Failures are shown on the console.
  void checkpointIfDue();
  /// Keeps objects that are not saved as left-overs for a later process. To be called when this one is to end before
  /// the user could save, with the pool still filled. Failures are shown on the console.
  void keepUnsaved();
  /// Milliseconds until the next checkpoint is due; -1 when there are none.
  int untilCheckpoint() const;

  HxRecovery(const HxRecovery&) = delete;
  HxRecovery& operator=(const HxRecovery&) = delete;

private:
  void tellEach(void (HxRecoveryProvider::*write)());

  HxRecovery() { sinceCheckpoint_.start(); }

  std::vector<HxRecoveryProvider*> providers_;
  int interval_ = 60;
  QElapsedTimer sinceCheckpoint_;
};
