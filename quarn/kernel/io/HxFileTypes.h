#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/kernel/io/HxLoadOptions.h"

class HxData;
class QuarnMesh;

/// Reads a file and registers what it holds with HxData::registerData(). Returns 1, or 0 after reporting why; may throw
/// McException instead.
using HxFileReader = std::function<int(const QString& file, const HxLoadOptions& options)>;
/// Loads a file that brings objects about by commands, and returns their names. What it has brought stays when it
/// throws McException. Takes no options.
using HxNetworkLoader = std::function<QStringList(const QString& file)>;
/// Makes an object of a parsed parameter file; results as above.
using HxQuarnMeshReader = std::function<int(QuarnMesh* mesh, const char* filename)>;
/// Takes one finding of a check of a file, and whether what it is about is sound.
using HxVerificationReport = std::function<void(const QString& finding, bool isSound)>;
/// Checks a parsed parameter file and everything that it names, to the last byte. Loads nothing; what is wrong is
/// reported and not thrown.
using HxQuarnMeshVerifier = std::function<void(QuarnMesh* mesh, const char* filename, const HxVerificationReport&)>;
/// Writes an object. Returns 1, or 0 after reporting why; may throw McException instead.
using HxFileSaver = std::function<int(HxData* data, const char* filename)>;

/// One way to save objects of a class.
struct HxSaverEntry {
  QString className;
  QString format;  ///< label, unique within the class
  QString suffix;  ///< with its dot
  HxFileSaver save;
};

/// The table of file types. For the user-interface thread.
class QUARN_KERNEL_API HxFileTypes {
public:
  static HxFileTypes& instance();

  /// Registers a reader for files whose names end in one of `suffixes` (each with its dot, case does not matter). The
  /// longest suffix that fits a name decides. Throws McException when a suffix is taken.
  void registerReader(const QString& label, const QStringList& suffixes, HxFileReader reader);
  /// Registers the reader of folders whose files belong together. Throws McException when there is one already.
  void registerFolderReader(const QString& label, HxFileReader reader);
  /// Says that a file of a registered suffix stands for the whole folder in which it lies: load() of such a folder
  /// loads that file. unregisterReader() of its reader ends this.
  void registerFolderIndex(const QString& suffix);
  /// The same as registerReader() for files that are loaded by commands.
  void registerNetworkLoader(const QString& label, const QString& suffix, HxNetworkLoader loader);
  void unregisterReader(const QString& label);
  /// Says why files of a suffix (with its dot) are not read: load() refuses one that nothing else reads with what `why`
  /// tells of it, in words that follow "FILE: ". They are not among suffixes().
  void registerUnreadFiles(const QString& suffix, std::function<QString(const QString& file)> why);

  /// Registers a reader for parameter files whose "ContentType" is `contentType`. `suffix` (with its dot) is how such
  /// files usually end; any name that ends so, or in ".qm", is read as a parameter file. `verifier` may be empty.
  /// Throws McException when the content type is taken.
  void registerQuarnMeshReader(const QString& contentType, const QString& suffix, HxQuarnMeshReader reader,
                               HxQuarnMeshVerifier verifier = {});
  void unregisterQuarnMeshReader(const QString& contentType);

  /// Registers a way to save objects of a class and of classes derived from it. Throws McException when the class has
  /// this format already.
  void registerSaver(const QString& className, const QString& format, const QString& suffix, HxFileSaver saver);
  void unregisterSaver(const QString& className, const QString& format);

  /// Loads a file by its reader, or a folder by the one file that stands for it or by the reader of folders: names of
  /// the objects that it registered, in that order. Throws McException naming the file when it is missing, a directory,
  /// of unknown type, or when its reader fails; what a failing reader had registered is taken out of the pool again. A
  /// single object that can be loaded again notes the options. Of several files that stand for a folder the one counts
  /// that is named after it, else the folder is refused.
  QStringList load(const QString& file, const HxLoadOptions& options = {});

  /// Checks a parameter file and what it names without loading it. A file that cannot be read, or that nobody can
  /// check, is a finding, too. Returns the number of findings that are not sound.
  int verify(const QString& file, const HxVerificationReport& report);

  /// All file name endings that can be loaded, sorted.
  QStringList suffixes() const;

  /// The ways to save an object, those of its own class before its parents'.
  std::vector<HxSaverEntry> saversFor(const HxData& data) const;
  /// Saves an object in a format (case does not matter); an empty format means the first whose suffix the file name
  /// ends in, else the only one, or for a name in ".qm" the only one of parameter files. Throws McException naming
  /// object, format and file when there is no such format or the saver fails.
  void save(HxData* data, const QString& format, const QString& file);

private:
  struct ReaderEntry {
    QString label;
    QStringList suffixes;
    HxFileReader read;
    HxNetworkLoader loadNetwork;
  };
  struct MeshEntry {
    QString contentType;
    QString suffix;
    HxQuarnMeshReader read;
    HxQuarnMeshVerifier verify;
  };

  HxFileTypes() = default;
  void requireFreeSuffixes(const QString& label, const QStringList& suffixes) const;
  int readQuarnMesh(const QString& file);
  const MeshEntry& entryFor(const QuarnMesh& mesh, const QString& file) const;
  bool isParameterFile(const QString& file) const;
  const ReaderEntry* findReader(const QString& file) const;
  QString folderIndex(const QString& folder) const;
  HxFileReader readerFor(const QString& file);
  HxSaverEntry chooseSaver(const HxData& data, const QString& format, const QString& file) const;

  std::vector<ReaderEntry> readers_;
  ReaderEntry folderReader_;  ///< empty for none
  struct UnreadEntry {
    QString suffix;
    std::function<QString(const QString& file)> why;
  };
  std::vector<UnreadEntry> unread_;
  QStringList folderIndexes_;  ///< suffixes of files that stand for their folder
  std::vector<MeshEntry> meshReaders_;
  std::vector<HxSaverEntry> savers_;
};
