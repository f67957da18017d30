#include "platform/posix/descriptor.h"

#include <unistd.h>

namespace kvx::platform {

void Descriptor::Reset() {
  const int descriptor = std::exchange(descriptor_, -1);
  if (descriptor >= 0) ::close(descriptor);
}

}  // namespace kvx::platform
