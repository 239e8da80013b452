#pragma once

#include <QString>
#include <QStringList>

#include "quarn/kernel/export.h"

/// The objects of the pool, their connections and the states of their ports as a script, and back. The file is
/// described in docs/format/network.md. For the user-interface thread.
///
/// A network holds no data: each object comes back from its file, from the module that made it, or as an empty one of
/// its class.
class QUARN_KERNEL_API HxNetwork {
public:
  /// What file names of networks end in, with the dot; case does not matter.
  static QString suffix();
  static bool hasSuffix(const QString& file);

  /// Writes all objects of the pool. Data files below the folder of `file`, or of what it leads to as a link, are named
  /// as seen from there. Throws McException, and writes nothing, when the name does not end in suffix(), when the file
  /// cannot be written, or when something would not come back as it is; everything of that kind is named then. With
  /// `force` that is written as far as it can be, with a comment for each piece, and told in the result: "NAME: why".
  static QStringList save(const QString& file, bool force = false);

  /// Runs a network and returns the names that its objects have got. An object whose name is taken gets another one,
  /// and the network goes on with that one. What fails is passed over; then, with all the rest loaded, McException is
  /// thrown that names file, line and reason of each failure. Commands outside those of networks do not exist. What the
  /// network does to the data, short of changing their content, does not make them modified.
  static QStringList load(const QString& file);
};
