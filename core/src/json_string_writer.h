#pragma once

#include <string>

/// Appends the bytes of `text` as they stand between the quotes of a JSON string, escaped as
/// SwJsonValue::escapeString says.
void appendEscapedJson(const std::string& text, std::string& out);
