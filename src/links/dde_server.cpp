#include "links/dde_server.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;
using platform::DdeAnswer;
using platform::DdeCall;
using platform::DdeService;
using platform::DdeType;

constexpr const char* kService = "HRD_RADIO_000";
constexpr const char* kTopic = "HRD_CAT";
constexpr Duration kTakeOverPause = 2s;
constexpr Duration kPostPause = 20ms;  // a knob turns faster than a client takes its news

struct ItemRow {
  DdeItem item;
  const char* name;
};
constexpr std::array kItems{ItemRow{DdeItem::kRadio, "HRD_RADIO"}, ItemRow{DdeItem::kHertz, "HRD_HERTZ"},
                            ItemRow{DdeItem::kMode, "HRD_MODE"}};

}  // namespace

DdeSettings DdeSettings::From(const config::Settings& settings) {
  DdeSettings dde;
  if (!Trim(settings.text("DDESERVER=")).empty()) dde.on = settings.flag("DDESERVER=");
  return dde;
}

DdeServer::DdeServer(Loop& loop, Console& console, cat::Operations& operations, platform::DdeTransport& transport)
    : loop_(loop),
      console_(console),
      operations_(operations),
      transport_(transport),
      subscription_(console.Subscribe([this](Field field) { Follow(field); })) {
  transport_.on_call = [this](const DdeCall& call) { return HandleDDECallback(call); };
  transport_.on_service = [this](DdeService service, const std::string& why) { ServiceChanged(service, why); };
}

DdeServer::~DdeServer() {
  DDEUnload();
  transport_.on_call = nullptr;
  transport_.on_service = nullptr;
}

void DdeServer::Use(const DdeSettings& settings) {
  const bool same = settings == settings_;
  settings_ = settings;
  const bool runs = service_ != DdeService::kStopped;
  if (same && runs) return;
  if (is_wanted() && !runs) INITDDE();
  if (!is_wanted() && runs) DDEUnload();
}

void DdeServer::INITDDE() {
  failure_told_ = false;
  service_ = DdeService::kStarting;
  for (std::size_t i = 0; i < kItems.size(); ++i) posted_[i] = DataOf(kItems[i].item);
  transport_.Start(kService, kTopic, {kItems[0].name, kItems[1].name, kItems[2].name});
}

void DdeServer::DDEUnload() {
  for (Loop::TimerId* timer : {&post_, &watch_}) loop_.StopTimer(std::exchange(*timer, 0));
  if (std::exchange(service_, DdeService::kStopped) != DdeService::kStopped) transport_.Stop();
  why_.clear();
  Show();
}

void DdeServer::ServiceChanged(DdeService service, const std::string& why) {
  service_ = service;
  why_ = why;
  if (is_active()) failure_told_ = false;
  Show();
  WatchOther();
  const bool failed = service == DdeService::kFailed || service == DdeService::kMissing;
  if (!failed || std::exchange(failure_told_, true) || !on_notice) return;
  on_notice(service == DdeService::kFailed ? "DDE Did not Initialize: " + why : "DDE is off: " + why);
}

/// The service is taken over when the program that has it has gone.
void DdeServer::WatchOther() {
  loop_.StopTimer(std::exchange(watch_, 0));
  if (service_ != DdeService::kFound) return;
  watch_ = loop_.StartTimer(loop_.Now() + kTakeOverPause, [this] {
    watch_ = 0;
    WatchOther();
    transport_.TakeOver();
  });
}

bool DdeServer::is_active() const {
  return service_ == DdeService::kRegistered || service_ == DdeService::kFound;
}

std::string DdeServer::state() const {
  const std::string reason = why_.empty() ? "" : ": " + why_;
  switch (service_) {
    case DdeService::kStopped: {
      const std::string missing = transport_.missing();
      return "off" + (missing.empty() ? "" : ": " + missing);
    }
    case DdeService::kStarting:
      return "starting" + reason;
    case DdeService::kRegistered:
      return "on, " + std::to_string(conversations()) + (conversations() == 1 ? " client" : " clients");
    case DdeService::kFound:
      return std::string("on, another program serves ") + kService;
    case DdeService::kNotRegistered:
      return std::string("off: the name ") + kService + " could not be registered";
    case DdeService::kFailed:
    case DdeService::kMissing:
      break;
  }
  return "off" + reason;
}

void DdeServer::Follow(Field field) {
  if (field != Field::kFreqDisp && field != Field::kMode && field != Field::kRigName) return;
  if (service_ == DdeService::kStopped || post_ != 0) return;
  post_ = loop_.StartTimer(std::max(loop_.Now(), next_post_), [this] {
    post_ = 0;
    SendDDEx();
  });
}

void DdeServer::SendDDEx() {
  next_post_ = loop_.Now() + kPostPause;
  if (service_ != DdeService::kRegistered) return;
  for (std::size_t i = 0; i < kItems.size(); ++i) {
    std::string data = DataOf(kItems[i].item);
    if (data == posted_[i]) continue;
    posted_[i] = std::move(data);
    transport_.PostAdvise(kItems[i].name);
  }
}

/// The block of an item's data as clients get it; empty when there is none.
std::string DdeServer::DataOf(DdeItem item) const {
  constexpr std::size_t kBehindMode = 4;  // clients count on them
  const auto block = [](const std::string& text, std::size_t behind) { return text + std::string(behind, '\0'); };
  switch (item) {
    case DdeItem::kRadio:
      return *console_.RigName == "NONE" ? std::string() : block(ToLatin1(*console_.RigName), 1);
    case DdeItem::kHertz: {
      const auto hertz = DdeHertz(KhzText(*console_.FreqDisp));
      return hertz ? block(*hertz, 1) : std::string();
    }
    case DdeItem::kMode: {
      const auto mode = DdeMode(*console_.Mode);
      return mode ? block(*mode, kBehindMode) : std::string();
    }
    case DdeItem::kNone:
      break;
  }
  return {};
}

DdeAnswer DdeServer::Data(const std::string& item, unsigned format) {
  if (format != platform::kDdeText) return {};
  const DdeItem asked = DdeItemOf(item);
  std::string data = DataOf(asked);
  if (asked == DdeItem::kHertz && !data.empty()) {
    told_ = "X" + data.substr(0, data.size() - 1) + "X";
    Show();
  }
  const bool any = !data.empty();
  return {any, std::move(data)};
}

/// All of it or nothing. Whoever asks next is told the new state.
DdeAnswer DdeServer::Carry(const DdeOrder& order) {
  if (!order.understood || *console_.Port != "open") return {};
  bool done = true;
  if (!order.mode.empty()) {
    const auto set = operations_.SetModeByName(order.mode);
    done = set && *set == cat::SendOutcome::kSent;
  }
  if (done && order.frequency) done = operations_.TuneTo(*order.frequency) == cat::SendOutcome::kSent;
  SendDDEx();
  return {.accepted = done};
}

DdeAnswer DdeServer::HandleDDECallback(const DdeCall& call) {
  busy_ = true;
  DdeAnswer answer{.accepted = true};
  switch (call.type) {
    case DdeType::kAdviseStart: {
      const DdeItem item = DdeItemOf(call.item);
      answer.accepted = call.format == platform::kDdeText && (item == DdeItem::kHertz || item == DdeItem::kMode);
      break;
    }
    case DdeType::kRequest:
    case DdeType::kAdviseRequest:
      answer = Data(call.item, call.format);
      break;
    case DdeType::kExecute:
      answer = Carry(ReadDdeExecute(call.data));
      break;
    case DdeType::kPoke:
      answer = Carry(call.format == platform::kDdeText ? ReadDdePoke(DdeItemOf(call.item), call.data) : DdeOrder());
      break;
    default:
      break;  // connections come, are confirmed and go; everything else tells of things that do not concern us
  }
  busy_ = false;
  Note(call, answer);
  return answer;
}

/// What clients order, and what they are told, be it asked for or news.
void DdeServer::Note(const DdeCall& call, const DdeAnswer& answer) {
  const char* asks = nullptr;
  if (call.type == DdeType::kAdviseRequest && answer.accepted) activity_.Answered(answer.data.c_str());
  if (call.type == DdeType::kRequest) asks = "request ";
  if (call.type == DdeType::kExecute) asks = "execute ";
  if (call.type == DdeType::kPoke) asks = "poke ";
  if (asks == nullptr) return;
  const std::string asked = asks + call.item + (call.item.empty() || call.data.empty() ? "" : " ") + call.data;
  activity_.Asked(asked);
  if (!answer.accepted) return activity_.Refused(asked);
  activity_.Answered(answer.data.empty() ? "done" : answer.data.c_str());
}

}  // namespace kvx::links
