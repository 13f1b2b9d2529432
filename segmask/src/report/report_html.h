#pragma once

#include <string>

namespace segmask {

// Pieces of the report's HTML. Arguments are HTML unless they are called text.

/// A name from outside, kept from changing the direction of the text around it.
std::string nameHtml(const std::string& text);

/// A section of the page, under a heading of the second level whose id is `id`.
std::string sectionHtml(const std::string& id, const std::string& heading, const std::string& content);

/// A paragraph in smaller, quieter type.
std::string noteHtml(const std::string& html);

/// A table that scrolls sideways where the page is narrower than it.
std::string scrollingHtml(const std::string& label, const std::string& table);

/// A cell of a table, and the head of a column, aligned as numbers are.
std::string numberCell(const std::string& html);
std::string numberHead(const std::string& html);

}  // namespace segmask
