#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "functions/memory_channel.h"

namespace kvx::functions {

/// What `RIGMEM.MEM` holds.
///
///   KVX memory channels 1
///   # channel,name,frequency in kHz,mode,width,vfo,skip,comment
///   7,Sunday net,3650.00,LSB,,A,,"Sundays, 10 UTC"
///
/// Empty channels are not written. Lines that are no channel are kept as they stand and written behind the channels, a
/// channel's second line as a remark.
struct MemoryFile {
  std::array<MemoryChannel, kChannels> channels;
  std::vector<std::string> other_lines;
};

/// kDamaged for content that is no text or does not begin with the first line above.
Result<MemoryFile> ParseMemories(std::string_view content);
std::string FormatMemories(const MemoryFile& file);

}  // namespace kvx::functions
