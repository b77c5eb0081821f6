#pragma once

#include <string>
#include <vector>

/** What --map OLD=NEW asks for: names that begin with @c from begin with
 *  @c to instead. */
struct NameMapping {
  std::string from;
  std::string to;
};

/** Throws UsageError where the text is no OLD=NEW. */
NameMapping nameMappingOfText(const std::string& option, const std::string& text);

/** The name with the first mapping that fits applied to it. */
std::string mappedName(std::string name, const std::vector<NameMapping>& mappings);

/** The canonical folder that a script lies in, or will, with links followed. */
std::string folderOfScript(const std::string& script);

/** The name with $NAME and ${NAME} replaced, as the library does it: a name too
 *  long for any path stays as it is.  What it comes to is cut off where it gets
 *  as long, since a short name may hold any number of long values. */
std::string withVariablesReplaced(const std::string& name);

/** Whether no file can have the path: the system takes none as long. */
bool isTooLongForPath(const std::string& path);

/** Where the files of a script's session are.  Asks about the script's own
 *  folder once. */
class SessionFolder {
public:
  explicit SessionFolder(const std::string& script);

  /** As folderOfScript(). */
  const std::string& getCanonicalName() const { return canonicalName; }

  /** Where a file is: beside the script, else where its name leads as it
   *  stands; where it is in neither place, the path beside the script.  Short
   *  where it can be, since people read it. */
  std::string pathOf(const std::string& storedName) const;

private:
  std::string canonicalName;
  std::string writtenName; ///< as short as the script's own name lets it be
};

/** The name under which a session in this canonical folder finds the file
 *  again: relative to the folder where the file lies in it or below, so that
 *  both can move together, else absolute.  Throws Failure where the library
 *  would not find it under any. */
std::string nameToStore(const std::string& path, const std::string& folder);

/** What is too long for a line or an object cut down to its two ends, other
 *  texts as they are. */
std::string shortened(const std::string& text);

/** A name from a session for messages: shortened above 512 bytes, and without
 *  control characters. */
std::string nameForPeople(const std::string& name);

/** A name from a session for programs: whole, unless no file can have it; then
 *  shortened. */
std::string nameForPrograms(const std::string& name);

/** The text with its control characters replaced: names from a session must
 *  not be able to write on a terminal as they please. */
std::string withoutControlCharacters(std::string text);
