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
std::string mappedName(const std::string& name, const std::vector<NameMapping>& mappings);

/** The canonical folder that a script lies in, or will, with links followed. */
std::string folderOfScript(const std::string& script);

/** Where a session's file is: beside the script, else where its name leads as
 *  it stands; where it is in neither place, the path beside the script.  Short
 *  where it can be, since people read it. */
std::string pathOfStoredName(const std::string& storedName, const std::string& script);

/** The name under which a session in this canonical folder finds the file
 *  again: relative to the folder where the file lies in it or below, so that
 *  both can move together, else absolute.  Throws Failure where the library
 *  would not find it under any. */
std::string nameToStore(const std::string& path, const std::string& folder);

/** The text with its control characters replaced: names from a session must
 *  not be able to write on a terminal as they please. */
std::string withoutControlCharacters(std::string text);
