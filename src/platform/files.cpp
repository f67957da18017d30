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

std::string SetAside(Files& files, const Path& path) {
  const Path aside = SetAsideName(files, path);
  return files.Rename(path, aside) ? "; set aside as " + aside.filename().string() : std::string();
}

}  // namespace kvx::platform
