#pragma once

#include <cstddef>
#include <string_view>

namespace kvx::audio {

/// How many characters have to be put in, taken out or exchanged to make one text of the other; blanks count.
std::size_t EditDistance(std::string_view sent, std::string_view read);

}  // namespace kvx::audio
