#include "platform/posix/pulse_state.h"

#include <pulse/pulseaudio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kWaitMicroseconds = 20'000;

/// One connection and what it is told.
class Asked {
 public:
  Asked() : main_(pa_mainloop_new()) {
    context_ = pa_context_new(pa_mainloop_get_api(main_), "KVX");
    (void)pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
  }
  ~Asked() {
    pa_context_disconnect(context_);
    if (question_ != nullptr) pa_operation_unref(question_);
    pa_context_unref(context_);
    pa_mainloop_free(main_);
  }
  Asked(const Asked&) = delete;
  Asked& operator=(const Asked&) = delete;

  bool good() const { return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)); }
  bool absent() const {
    const int cause = pa_context_errno(context_);
    return !good() && (cause == PA_ERR_CONNECTIONREFUSED || cause == PA_ERR_INVALIDSERVER);
  }
  /// Whether everything has been told.
  bool Advance() {
    if (pa_mainloop_prepare(main_, kWaitMicroseconds) >= 0 && pa_mainloop_poll(main_) >= 0)
      (void)pa_mainloop_dispatch(main_);
    if (question_ == nullptr && pa_context_get_state(context_) == PA_CONTEXT_READY) Ask();
    return question_ != nullptr && pa_operation_get_state(question_) == PA_OPERATION_DONE;
  }
  std::vector<SoundState::Source> sources() const {
    std::vector<SoundState::Source> sources = sources_;
    for (SoundState::Source& source : sources) source.is_default = source.device.id == usual_;
    return sources;
  }

 private:
  void Ask() {
    const auto take_server = [](pa_context*, const pa_server_info* server, void* self) {
      if (server != nullptr && server->default_source_name != nullptr)
        static_cast<Asked*>(self)->usual_ = server->default_source_name;
    };
    const auto take_source = [](pa_context*, const pa_source_info* source, int, void* self) {
      if (source == nullptr) return;
      const char* name = source->description == nullptr ? source->name : source->description;
      const bool silent = source->mute != 0 || pa_cvolume_is_muted(&source->volume) != 0;
      const AudioDevice device{source->name, name, source->monitor_of_sink != PA_INVALID_INDEX};
      static_cast<Asked*>(self)->sources_.push_back({.device = device, .silent = silent});
    };
    if (auto* first = pa_context_get_server_info(context_, take_server, this)) pa_operation_unref(first);
    question_ = pa_context_get_source_info_list(context_, take_source, this);  // answered in order
  }

  pa_mainloop* main_;
  pa_context* context_;
  pa_operation* question_ = nullptr;
  std::string usual_;
  std::vector<SoundState::Source> sources_;
};

std::string InstalledServer() {
  for (const char* name : {"pipewire-pulse", "pulseaudio"}) {
    if (::access((std::string("/usr/bin/") + name).c_str(), X_OK) == 0) return name;
  }
  return "";
}

fs::path Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// Whether somebody has named a server.
bool IsNamed() {
  const auto names = [](const fs::path& file) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("default-server")) return true;
    }
    return false;
  };
  return !Variable("PULSE_SERVER").empty() || !Variable("PULSE_CLIENTCONFIG").empty() ||
         names(Variable("HOME") / ".config/pulse/client.conf") || names("/etc/pulse/client.conf");
}

/// Whether there is the socket of a server where one is looked for: the library makes the folders on its way.
bool HasSocket() {
  std::vector<fs::path> folders{Variable("PULSE_RUNTIME_PATH"), Variable("XDG_RUNTIME_DIR") / "pulse", "/run/pulse"};
  for (const char* own : {".config/pulse", ".pulse"}) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(Variable("HOME") / own, error)) folders.push_back(entry.path());
  }
  return std::any_of(folders.begin(), folders.end(), [](const fs::path& folder) {
    std::error_code error;
    return fs::is_socket(folder / "native", error);
  });
}

}  // namespace

SoundState AskSoundServer(std::chrono::milliseconds limit) {
  SoundState state{.server_program = InstalledServer()};
  if (!IsNamed() && !HasSocket()) {
    state.server = SoundState::Server::kAbsent;
    return state;
  }
  Asked asked;
  const auto end = Clock::now() + limit;
  bool told = false;
  while (!told && asked.good() && Clock::now() < end) told = asked.Advance();
  if (told) {
    state.server = SoundState::Server::kAnswers;
    state.sources = asked.sources();
  } else {
    state.server = asked.absent() ? SoundState::Server::kAbsent : SoundState::Server::kSilent;
  }
  return state;
}

}  // namespace kvx::platform
