#pragma once

#include <string>
#include <string_view>

namespace kvx {

/// Length of the UTF-8 sequence at the start of `text`, which is not empty; 0 when there is none.
std::size_t Utf8Length(std::string_view text);
bool IsUtf8(std::string_view text);

/// A file's text as UTF-8: one that is none is taken as Windows-1252, in which older programs write.
std::string Utf8Of(std::string_view content);

}  // namespace kvx
