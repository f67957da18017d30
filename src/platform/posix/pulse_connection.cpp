#include "platform/posix/pulse_connection.h"

#include <pulse/pulseaudio.h>

#include <utility>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kAnswerTime = 2s;
constexpr Duration kMoment = 30ms;  // of the engine's time
constexpr int kPatience = 2'000;    // microseconds of one wait in it
constexpr int kMostSteps = 2'000;

}  // namespace

PulseConnection::PulseConnection(Loop& loop) : loop_(loop), owed_(loop.Now()) {
  main_ = pa_mainloop_new();
  if (main_ == nullptr) return;
  context_ = pa_context_new(pa_mainloop_get_api(main_), "KVX");
  if (context_ != nullptr) (void)pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

PulseConnection::~PulseConnection() {
  if (context_ != nullptr) pa_context_disconnect(context_);  // what it has been asked is forgotten
  if (asked_ != nullptr) pa_operation_unref(asked_);
  if (context_ != nullptr) pa_context_unref(context_);
  if (main_ != nullptr) pa_mainloop_free(main_);
}

bool PulseConnection::good() const {
  return context_ != nullptr && PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
}

bool PulseConnection::refused() const {
  if (good() || answers_ > 0) return false;
  const int cause = context_ == nullptr ? PA_ERR_CONNECTIONREFUSED : pa_context_errno(context_);
  return cause == PA_ERR_CONNECTIONREFUSED || cause == PA_ERR_INVALIDSERVER;
}

bool PulseConnection::silent() const {
  return good() && owed_ && loop_.Now() - *owed_ > kAnswerTime;
}

Error PulseConnection::failure() const {
  if (refused()) return {ErrorCode::kNotFound, "This computer has no sound server"};
  return {ErrorCode::kBusy, "The sound server does not answer"};
}

void PulseConnection::Pump() {
  if (main_ == nullptr) return;
  for (int i = 0; i < kMostSteps && pa_mainloop_iterate(main_, 0, nullptr) > 0; ++i) {
  }
  TakeAnswer();
}

void PulseConnection::GiveAMoment(const std::function<bool()>& done) {
  const TimePoint end = loop_.Now() + kMoment;
  for (Pump(); good() && !done() && loop_.Now() < end; Pump()) {
    if (pa_mainloop_prepare(main_, kPatience) < 0 || pa_mainloop_poll(main_) < 0) return;
    if (pa_mainloop_dispatch(main_) < 0) return;
  }
}

void PulseConnection::Ask() {
  if (asked_ != nullptr || context_ == nullptr || pa_context_get_state(context_) != PA_CONTEXT_READY) return;
  const auto take_server = [](pa_context*, const pa_server_info* server, void* usual) {
    if (server != nullptr && server->default_source_name != nullptr) {
      *static_cast<std::string*>(usual) = server->default_source_name;
    }
  };
  const auto take_source = [](pa_context*, const pa_source_info* source, int, void* list) {
    if (source == nullptr) return;
    const bool monitor = source->monitor_of_sink != PA_INVALID_INDEX;
    const char* name = source->description == nullptr ? source->name : source->description;
    static_cast<std::vector<Source>*>(list)->push_back({{source->name, name, monitor}});
  };
  if (!owed_) owed_ = loop_.Now();
  usual_.clear();
  told_.clear();
  if (auto* first = pa_context_get_server_info(context_, take_server, &usual_)) pa_operation_unref(first);
  asked_ = pa_context_get_source_info_list(context_, take_source, &told_);  // answered in order
}

void PulseConnection::TakeAnswer() {
  if (asked_ == nullptr) {
    if (answers_ == 0) Ask();
    return;
  }
  if (!good() || pa_operation_get_state(asked_) == PA_OPERATION_RUNNING) return;
  pa_operation_unref(std::exchange(asked_, nullptr));
  for (Source& source : told_) source.is_default = source.device.id == usual_;
  sources_ = std::exchange(told_, {});
  owed_.reset();
  ++answers_;
}

}  // namespace kvx::platform
