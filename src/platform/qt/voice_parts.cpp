#include "platform/qt/voice_parts.h"

#include <QLibraryInfo>
#include <QStandardPaths>
#include <filesystem>
#include <vector>

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

/// The files of a folder whose names begin so.
std::vector<std::string> Named(const fs::path& folder, const std::string& beginning) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (name.starts_with(beginning)) names.push_back(name);
  }
  return names;
}

/// The speech service's own voices; two of its modules speak by others, or not at all.
bool HasSynthesizer() {
  std::error_code error;
  std::vector<fs::path> folders{"/usr/lib/speech-dispatcher-modules", "/usr/libexec/speech-dispatcher-modules"};
  for (fs::directory_iterator it("/usr/lib", error), end; !error && it != end; it.increment(error)) {
    folders.push_back(it->path() / "speech-dispatcher-modules");
    folders.push_back(it->path() / "speech-dispatcher/speech-dispatcher-modules");
  }
  for (const fs::path& folder : folders) {
    for (const std::string& name : Named(folder, "sd_")) {
      if (name != "sd_dummy" && name != "sd_generic") return true;
    }
  }
  return false;
}

}  // namespace

std::string MissingVoice() {
  const fs::path plugins = QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString();
  const std::vector<std::string> engines = Named(plugins / "texttospeech", "libqtexttospeech_");
  if (engines.empty()) return "Qt has no speech engine: sudo apt install qt6-speech-speechd-plugin";
  for (const std::string& engine : engines) {
    if (engine.find("speechd") == std::string::npos && engine.find("mock") == std::string::npos) return "";
  }
  if (QStandardPaths::findExecutable("speech-dispatcher").isEmpty())
    return "the speech service is not installed: sudo apt install speech-dispatcher speech-dispatcher-espeak-ng";
  if (!HasSynthesizer()) return "the speech service has no voice: sudo apt install speech-dispatcher-espeak-ng";
  return "";
}

}  // namespace kvx::platform
