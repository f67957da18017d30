#include "platform/posix/pulse_connection.h"

#include <pulse/pulseaudio.h>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kAnswerTime = 500ms;
constexpr int kPatience = 20'000;  // microseconds of one wait

}  // namespace

PulseConnection::PulseConnection(Loop& loop) : loop_(loop) {}

PulseConnection::~PulseConnection() {
  if (context_ != nullptr) {
    pa_context_disconnect(context_);
    pa_context_unref(context_);
  }
  if (main_ != nullptr) pa_mainloop_free(main_);
}

Status PulseConnection::Connect() {
  const Error absent{ErrorCode::kNotFound, "This computer has no sound server"};
  main_ = pa_mainloop_new();
  if (main_ == nullptr) return absent;
  context_ = pa_context_new(pa_mainloop_get_api(main_), "KVX");
  if (context_ == nullptr || pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return absent;
  if (WaitFor([this] { return pa_context_get_state(context_) == PA_CONTEXT_READY; })) return Ok();
  return good() ? Error{ErrorCode::kBusy, "The sound server does not answer"} : absent;
}

bool PulseConnection::good() const {
  return context_ != nullptr && PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
}

void PulseConnection::Pump() {
  constexpr int kMostSteps = 100;
  for (int i = 0; i < kMostSteps && pa_mainloop_iterate(main_, 0, nullptr) > 0; ++i) {
  }
}

bool PulseConnection::WaitFor(const std::function<bool()>& done) {
  const TimePoint end = loop_.Now() + kAnswerTime;
  while (good() && !done()) {
    if (loop_.Now() >= end) return false;
    if (pa_mainloop_prepare(main_, kPatience) < 0 || pa_mainloop_poll(main_) < 0) return false;
    if (pa_mainloop_dispatch(main_) < 0) return false;
  }
  return good();
}

bool PulseConnection::Finish(pa_operation* operation) {
  if (operation == nullptr) return false;
  const bool finished = WaitFor([operation] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; });
  if (!finished) pa_operation_cancel(operation);  // what it would fill goes
  pa_operation_unref(operation);
  return finished;
}

std::optional<std::vector<PulseConnection::Source>> PulseConnection::Sources() {
  std::string usual;
  const auto take_server = [](pa_context*, const pa_server_info* server, void* name) {
    if (server != nullptr && server->default_source_name != nullptr) {
      *static_cast<std::string*>(name) = server->default_source_name;
    }
  };
  std::vector<Source> sources;
  const auto take_source = [](pa_context*, const pa_source_info* source, int, void* list) {
    if (source == nullptr) return;
    const bool monitor = source->monitor_of_sink != PA_INVALID_INDEX;
    const char* name = source->description == nullptr ? source->name : source->description;
    static_cast<std::vector<Source>*>(list)->push_back({{source->name, name, monitor}});
  };
  if (!Finish(pa_context_get_server_info(context_, take_server, &usual))) return std::nullopt;
  if (!Finish(pa_context_get_source_info_list(context_, take_source, &sources))) return std::nullopt;
  for (Source& source : sources) source.is_default = source.device.id == usual;
  return sources;
}

}  // namespace kvx::platform
