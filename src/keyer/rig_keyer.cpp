#include "keyer/rig_keyer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kFewSymbols = 3;
constexpr std::size_t kMostAhead = 24;    // symbols; the smallest buffer of a rig
constexpr Duration kAhead = 1200ms;       // the line and the polls on it take their time
constexpr Duration kLittleAhead = 200ms;  // of a rig that nothing stops, and what the line takes
constexpr std::size_t kOnTheLine = 64;    // bytes: a command and the queries before it
constexpr Duration kMayStillSend = 5s;    // after the reckoned end
constexpr const char* kStillSends = "The rig port is closed: the rig sends what it has been given";
constexpr char kText = '\x01';  // stands for the text while the template's other places are filled in

/// Signs that a family's keyer has a character of its own for.
struct SignCharacter {
  std::string_view family;
  std::string_view sign;
  std::string_view text;
};
// Kenwood: PC control command references of the TS-480, TS-590 and TS-990, KY.
constexpr std::array kSigns{SignCharacter{"", "AR", "+"},         SignCharacter{"", "BT", "="},
                            SignCharacter{"", "KN", "("},         SignCharacter{"KENWOOD", "AS", "<"},
                            SignCharacter{"KENWOOD", "SK", ">"},  SignCharacter{"KENWOOD", "VA", ">"},
                            SignCharacter{"KENWOOD", "SN", "%"},  SignCharacter{"KENWOOD", "VE", "%"},
                            SignCharacter{"KENWOOD", "BK", "\\"}, SignCharacter{"KENWOOD", "HH", "#"}};

constexpr std::string_view kPunctuation = " .,?/-=+";       // of every keyer
constexpr std::string_view kIcomPunctuation = "':()\"@";    // command 17
constexpr std::string_view kKenwoodPunctuation = "':()\"";  // KY

bool HasCharacter(char c, std::string_view family) {
  if (IsDigit(c) || (c >= 'A' && c <= 'Z') || kPunctuation.find(c) != std::string_view::npos) return true;
  if (family == "ICOM") return kIcomPunctuation.find(c) != std::string_view::npos;
  return family == "KENWOOD" && kKenwoodPunctuation.find(c) != std::string_view::npos;
}

/// The value of the rig's CW speed control: words a minute, or an Icom's level, 0 to 255 for 6 to 48.
int SpeedValue(int wpm, const config::RigDefinition& rig) {
  if (rig.family != "ICOM") {
    const auto [low, high] = std::minmax(rig.slider_bounds[0].minimum, rig.cw_full_scale);
    return std::clamp(wpm, low, high);
  }
  constexpr int kIcomSlowest = 6;
  constexpr int kIcomFastest = 48;
  const int steps = std::clamp(wpm, kIcomSlowest, kIcomFastest) - kIcomSlowest;
  const int level = (steps * 255 + (kIcomFastest - kIcomSlowest) / 2) / (kIcomFastest - kIcomSlowest);
  return std::min(level, rig.cw_full_scale);
}

}  // namespace

std::optional<CwTemplate> CwTemplate::Parse(std::string_view text) {
  constexpr std::string_view kBegin = "<CW";
  constexpr std::int64_t kWidest = 200;
  for (std::size_t at = text.find(kBegin); at != std::string_view::npos; at = text.find(kBegin, at + 1)) {
    const std::size_t end = text.find('>', at);
    if (end == std::string_view::npos) return std::nullopt;
    std::string_view width = text.substr(at + kBegin.size(), end - at - kBegin.size());
    const bool padded = !width.starts_with('-');
    if (!padded) width.remove_prefix(1);
    const auto number = AllDigits(width) ? ParseNumber(width, 1, kWidest) : std::nullopt;
    if (!number) continue;
    return CwTemplate{std::string(text.substr(0, at)), std::string(text.substr(end + 1)),
                      static_cast<std::size_t>(*number), padded};
  }
  return std::nullopt;
}

std::string RigCwText(std::string_view symbol, std::string_view family) {
  if (symbol.size() == 1) return HasCharacter(symbol.front(), family) ? std::string(symbol) : std::string();
  for (const SignCharacter& row : kSigns) {
    if (row.sign == symbol && (row.family.empty() || row.family == family)) return std::string(row.text);
  }
  // Icom: the letters after the mark go out without a gap between them.
  const bool two = symbol.size() == 2 && family == "ICOM";
  return two ? "^" + std::string(symbol) : std::string();
}

RigKeyer::RigKeyer(Loop& loop, Console& console, cat::Engine& engine, platform::ReleaseGuard* guard, bool stop_first)
    : loop_(loop), console_(console), engine_(engine), guard_(guard), stop_first_(stop_first) {
  port_ = console_.Subscribe([this](Field field) {
    if (field == Field::kPort) PortChanged();
    if (field == Field::kRigName) ForgetRig();
  });
}

RigKeyer::~RigKeyer() {
  loop_.StopTimer(opening_);
  loop_.StopTimer(said_);
  Forget();
}

/// What keeps it from sending; empty: nothing.
std::string RigKeyer::WhyNot() const {
  const config::RigDefinition& rig = engine_.rig();
  if (EqualNoCase(*console_.RigName, "NONE")) return "There is no rig whose keyer could send";
  if (!CwTemplate::Parse(rig.row["CWText"])) return rig.name + " has no command for CW text";
  return engine_.link.is_open() ? std::string() : "The rig port is closed";
}

bool RigKeyer::ready() const {
  return opened_ && WhyNot().empty();
}

std::string_view RigKeyer::state() const {
  if (!ready()) return opening_ != 0 ? "starting" : "closed";
  return given_.empty() ? "ready" : "busy";
}

void RigKeyer::Open() {
  if (ready() || opening_ != 0) return;
  opening_ = loop_.StartTimer(loop_.Now(), [this] { Opened(); });
}

void RigKeyer::Opened() {
  opening_ = 0;
  opened_ = true;
  const std::string why = WhyNot();
  if (!why.empty()) return Tell(on_failed, why);
  SendSpeed();
  Tell(on_ready);
}

void RigKeyer::Close() {
  Abort();
  opened_ = false;
  loop_.StopTimer(opening_);
  opening_ = 0;
}

/// The port's end ends the text; when it returns the keyer is ready again.
void RigKeyer::PortChanged() {
  if (engine_.link.is_open() && std::exchange(stop_at_open_, false)) StopRig();
  if (engine_.link.is_open() && std::exchange(stop_first_, false) && has_stop()) {
    if (const std::string stop = StopBytes(); !stop.empty()) engine_.link.WriteUrgently(stop, nullptr);
  }
  if (!opened_) return;
  if (engine_.link.is_open()) return Open();
  const bool sending = !given_.empty();
  Forget();
  stop_at_open_ = stop_at_open_ || sending;
  if (sending) Tell(on_lost, "The rig port is closed");
}

std::size_t RigKeyer::room() const {
  if (!ready() || given_.size() >= kMostAhead) return 0;
  if (!has_stop()) {
    // A blank goes out with the sign behind it, which must be there before the blank is over.
    return given_.empty() || given_.back().text == " " || busy_until_ <= loop_.Now() + Ahead() ? 1 : 0;
  }
  return given_.size() < kFewSymbols || busy_until_ < loop_.Now() + kAhead ? 1 : 0;
}

Duration RigKeyer::Ahead() const {
  return kLittleAhead + engine_.link.TimeOf(kOnTheLine);
}

void RigKeyer::Send(std::string_view symbol) {
  std::string text = RigCwText(symbol, engine_.rig().family);
  if (text.empty() || !ready()) return;
  busy_until_ = std::max(busy_until_, loop_.Now()) + MorseLength(symbol, wpm_);
  given_.push_back({text, busy_until_});
  if (text != " " || unsent_.size() < kFewSymbols || unsent_.back() != " ") unsent_.push_back(std::move(text));
  if (given_.size() == 1) WaitForFirst();
  if (!has_stop()) {
    loop_.StopTimer(due_);
    due_ = loop_.StartTimer(std::max(loop_.Now(), busy_until_ - Ahead()), [this] {
      due_ = 0;
      Tell(on_progress);
    });
  }
  // What is given in one go goes out in one command.
  if (flush_ == 0) flush_ = loop_.StartTimer(loop_.Now(), [this] { Flush(); });
}

/// What goes out in the next command. A blank at the end would be taken for padding: it begins the command after it. An
/// Icom's mark for letters run together has a command of its own.
std::string RigKeyer::TakeText(const CwTemplate& form) {
  std::string text;
  std::size_t length = 0;
  std::size_t pieces = 0;
  for (std::size_t i = 0; i < unsent_.size(); ++i) {
    const std::string& piece = unsent_[i];
    const bool alone = piece.size() > 1;
    if (!text.empty() && (alone || text.size() + piece.size() > form.width)) break;
    text += piece;
    if (!form.padded || piece != " ") {
      length = text.size();
      pieces = i + 1;
    }
    if (alone) break;
  }
  text.resize(length);
  unsent_.erase(unsent_.begin(), unsent_.begin() + static_cast<std::ptrdiff_t>(pieces));
  return text;
}

void RigKeyer::Flush() {
  flush_ = 0;
  const auto form = CwTemplate::Parse(engine_.rig().row["CWText"]);
  if (!form) return;
  for (std::string text = TakeText(*form); !text.empty(); text = TakeText(*form)) {
    if (Write(*form, text)) {
      Guard();
      continue;
    }
    Forget();
    return Tell(on_dropped, "The rig line is busy");
  }
}

bool RigKeyer::Write(const CwTemplate& form, const std::string& text) {
  std::string written = text;
  if (form.padded) written.resize(std::max(form.width, written.size()), ' ');
  if (engine_.rig().binary()) written = HexText::FromBytes(written).digits;
  std::string command = engine_.dispatcher.FillIn(form.before + kText + form.after, "CWText");
  const std::size_t at = command.find(kText);
  if (at == std::string::npos) return false;
  command.replace(at, 1, written);
  return engine_.link.WriteRigPort(engine_.dispatcher.Encode(command));
}

void RigKeyer::WaitForFirst() {
  first_done_ = loop_.StartTimer(given_.front().end, [this] { FirstDone(); });
}

void RigKeyer::FirstDone() {
  first_done_ = 0;
  given_.pop_front();
  if (!given_.empty()) WaitForFirst();
  Tell(on_progress);
  if (!given_.empty()) return;
  unsent_.clear();  // blanks that nothing followed
  Unguard();
}

/// What another rig was sending is no concern of this one.
void RigKeyer::ForgetRig() {
  busy_until_ = {};
  stop_at_open_ = false;
}

void RigKeyer::Forget() {
  loop_.StopTimer(flush_);
  loop_.StopTimer(first_done_);
  loop_.StopTimer(std::exchange(due_, 0));
  flush_ = 0;
  first_done_ = 0;
  given_.clear();
  unsent_.clear();
  Unguard();
}

/// A rig without the command gets what releases its transmitter: it ends the text of some, and does the others no harm.
std::string RigKeyer::StopBytes() {
  if (!has_stop()) return engine_.dispatcher.ReleaseOfRig();
  const std::string command = engine_.dispatcher.FillIn(engine_.rig().row["CWStop"], "CWStop");
  return engine_.dispatcher.Encode(command, "CWStop");
}

/// What was being written when the program ends may be cut in two.
void RigKeyer::Guard() {
  if (guard_ == nullptr || guarded_) return;
  const std::string stop = StopBytes();
  if (stop.empty()) return;
  guarded_ = true;
  const config::RigDefinition& rig = engine_.rig();
  guard_->Arm((rig.binary() ? std::string() : std::string(1, cat::EndMark(rig))) + stop);
}

void RigKeyer::Unguard() {
  if (std::exchange(guarded_, false)) guard_->Disarm();
}

/// Even when all should be through by now: the rig may be behind.
void RigKeyer::Abort() {
  Forget();
  if (engine_.link.is_open()) return StopRig();
  stop_at_open_ = busy_until_ != TimePoint{} && loop_.Now() < busy_until_;
  if (!stop_at_open_ || said_ != 0) return;
  said_ = loop_.StartTimer(loop_.Now(), [this] {
    said_ = 0;
    Tell(on_notice, kStillSends);
  });
}

/// What a transmitter that is keyed by CAT as well is released with is the business of who has keyed it.
void RigKeyer::StopRig() {
  const bool by_cat = !has_stop() && *console_.Transmitting;
  const bool sends = !by_cat && busy_until_ != TimePoint{} && loop_.Now() < busy_until_ + kMayStillSend;
  const std::string stop = sends ? StopBytes() : std::string();
  if (!stop.empty() && engine_.link.WriteUrgently(stop, nullptr)) busy_until_ = {};
}

void RigKeyer::SetSpeed(int wpm) {
  if (wpm == wpm_) return;
  wpm_ = wpm;
  if (ready()) SendSpeed();
}

void RigKeyer::SendSpeed() {
  const config::RigDefinition& rig = engine_.rig();
  if (rig.row["MEMO4"].empty()) return;
  console_.Slider.Set(0, SpeedValue(wpm_, rig));
  engine_.operations.SendSlider(1);
}

}  // namespace kvx::keyer
