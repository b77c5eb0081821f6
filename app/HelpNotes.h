#pragma once

#include <string>
#include <vector>

/** A part of the notes below a command's options: a paragraph, or lines that
 *  stand as they are written. */
struct NotesBlock {
  std::string heading; ///< of lines, with its colon; may be empty
  std::string text;    ///< a paragraph's lines joined; lines each with a line feed
  bool areLines;

  bool areExamples() const { return heading == "Examples:"; }
};

/** The blocks of a text.  An empty line ends a block; lines indented by two
 *  stand as they are, without the indent; a line before them that ends in a
 *  colon is their heading. */
std::vector<NotesBlock> blocksOf(const std::string& notes);

/** The text in lines of at most @p width characters, each behind @p indent
 *  blanks; the first one begins where the text already stands. */
std::string wrapped(const std::string& text, std::size_t indent, std::size_t width);
