#pragma once

#include <string>

/** A file that appears complete or not at all.
 *
 *      open   mix.wav (old or absent)    .mix.wav.tov-a1B2c3 (growing)
 *      commit                            written, synced, then renamed over
 *      mix.wav (new)
 *
 *  Until commit() the target is untouched; without it the destructor removes
 *  the temporary file.  Killed at any moment, the program leaves the old file
 *  or the complete new one under the target's name.
 *
 *  The target "-" is standard output, which commit() writes the whole file to;
 *  until then it lies in the folder for temporary files. */
class OutputFile {
public:
  /** Makes the temporary file beside the target.  A link is followed, so that
   *  it stays one.  Throws Failure where the target cannot become a file. */
  explicit OutputFile(const std::string& targetName);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /** What is to be written to. */
  const std::string& getTemporaryPath() const { return temporaryPath; }

  /** The open temporary file; whoever writes through it sees the same bytes. */
  int getDescriptor() const { return descriptor; }

  const std::string& getTargetName() const { return name; }

  /** The file is open wherever it is needed: where it has no place to be put
   *  into, its name goes, so that nothing can be left behind. */
  void allowToHide();

  /** Puts the written file in the target's place.  Throws Failure, and
   *  Interrupted while standard output takes it. */
  void commit();

private:
  void refuseBadTarget() const;
  void makeTemporary();
  void remove();

  std::string name;   ///< as the user wrote it
  std::string target; ///< with links followed
  std::string folder;
  std::string temporaryPath; ///< empty once there is none
  bool isForStandardOutput = false;
  int descriptor = -1;
};

/** The path of the file that a name leads to, with links followed; the file
 *  itself need not exist. */
std::string targetBehindLinks(const std::string& name);

/** The system's words for an error number, without a capital. */
std::string systemErrorText(int errorNumber);
