#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The rules of SwString for numbers and parts once more, step by step and without a thought for speed, to
/// compare with. Nothing here calls the library. The process must be in the "C" locale.
namespace reference {

/// What isspace accepts in the "C" locale.
bool isSpace(char byte);
bool isDigit(char byte);

/// Without spaces, tabs, line feeds and carriage returns around it.
std::string trimmed(const std::string& text);

/// What stands between the separators; nothing for an empty last part.
std::vector<std::string> partsOf(const std::string& text, char separator);

/// An integer at the start of the text, white space before it skipped. Base 0 stands for automatic. Nothing
/// if there is none or it is out of range. `consumed` is then 0.
std::optional<std::int64_t> signedPrefix(const std::string& text, unsigned base, std::size_t& consumed);
std::optional<std::uint64_t> unsignedPrefix(const std::string& text, unsigned base);

/// What strtod reads at the start of the text. Nothing if there is no number or it is out of range.
std::optional<double> doublePrefix(const std::string& text, std::size_t& consumed);

/// SwString::toInt and SwString::parseNumericDouble.
std::optional<int> toInt(const std::string& text);
std::optional<double> numericDouble(const std::string& text);

/// As printf's %.{precision}g: what an output stream of this precision writes.
std::string generalText(double value, int precision);

/// Whether the two have the same bits. Floats that are both NaN need the same sign only: what narrowing
/// leaves of the other bits is nobody's rule.
bool identical(double a, double b);
bool identical(float a, float b);

}  // namespace reference
