#include "platform/audio_input.h"

#include <algorithm>
#include <array>

#include "core/text.h"

namespace kvx::platform {

bool IsDefaultDevice(std::string_view name) {
  constexpr std::array<std::string_view, 4> kDefaultNames{"", "default", "System default", "Microsoft Sound Mapper"};
  return std::any_of(kDefaultNames.begin(), kDefaultNames.end(),
                     [name](std::string_view known) { return EqualNoCase(name, known); });
}

}  // namespace kvx::platform
