#include "platform/files.h"

namespace kvx::platform {

Path SetAsideName(const Files& files, const Path& path) {
  Path name = path;
  name += ".damaged";
  for (int i = 2; files.Exists(name); ++i) {
    name = path;
    name += ".damaged." + std::to_string(i);
  }
  return name;
}

}  // namespace kvx::platform
