#include "links/rigctl_session.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::links {
namespace {

constexpr std::size_t kLongestLine = 1024;
constexpr int kMostOnLine = 64;  // commands on one line
constexpr std::string_view kBlanks = " \t\r";
// Marks that are not the separator of an extended answer.
constexpr std::string_view kNoSeparators = "\\_#?-";

void SkipBlanks(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
}

std::string_view TakeWord(std::string_view& line) {
  SkipBlanks(line);
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

bool IsPunctuation(char c) {
  return c > ' ' && c < 0x7F && !(c >= '0' && c <= '9') && !(c >= 'A' && c <= 'Z') && !(c >= 'a' && c <= 'z');
}

std::string_view TrimEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

constexpr std::string_view kHttpEnd = " HTTP/1.1";

/// "POST / HTTP/1.1", of any method and version, or the end of such a line.
bool IsHttpRequest(std::string_view line) {
  line = TrimEnd(line);
  const std::string_view end = line.substr(line.size() - std::min(line.size(), kHttpEnd.size()));
  return end.size() == kHttpEnd.size() && end.starts_with(" HTTP/") && IsDigit(end[6]) && end[7] == '.';
}

}  // namespace

RigctlSession::RigctlSession(Loop& loop, Console& console, cat::Engine& engine, RigctlRig& rig)
    : rig_(rig), client_(loop, console, engine) {}

RigctlSession::~RigctlSession() {
  rig_.Leave(client_);
}

std::string RigctlSession::Answer(std::size_t enough) {
  std::string out;
  while (!client_.ended && out.size() < enough) {
    const std::size_t end = input_.find('\n', taken_);
    const std::size_t length = std::min(end, input_.size()) - taken_;
    if (!skipping_ && length > kLongestLine) {
      RigctlReply(out, '\0').End(Rprt::kInvalid, false);
      skipping_ = true;
    }
    if (end == std::string::npos) {
      if (skipping_) taken_ = input_.size() - std::min(length, kHttpEnd.size() + 1);
      break;
    }
    if (!std::exchange(greeted_, true) && IsHttpRequest(std::string_view(input_).substr(taken_, length))) {
      client_.ended = true;
      break;
    }
    if (!std::exchange(skipping_, false)) Execute(std::string_view(input_).substr(taken_, length), out);
    taken_ = end + 1;
  }
  if (taken_ == input_.size() || taken_ > kLongestLine) input_.erase(0, std::exchange(taken_, 0));
  return out;
}

void RigctlSession::Execute(std::string_view line, std::string& out) {
  line = TrimEnd(line);
  for (int count = 0; !client_.ended; ++count) {
    SkipBlanks(line);
    if (line.empty() || line.front() == '#') return;
    if (count == kMostOnLine) return RigctlReply(out, '\0').End(Rprt::kInvalid, false);
    if (!ExecuteFirst(line, out)) return;
  }
}

/// The first command of a line, which is taken off. False when the rest cannot be read.
bool RigctlSession::ExecuteFirst(std::string_view& line, std::string& out) {
  char separator = '\0';
  if (IsPunctuation(line.front()) && kNoSeparators.find(line.front()) == std::string_view::npos) {
    separator = line.front() == '+' ? '\n' : line.front();
    line.remove_prefix(1);
    SkipBlanks(line);
    if (line.empty()) return false;
  }
  const RigctlCommand* command = nullptr;
  if (line.front() == '\\') {
    line.remove_prefix(1);
    command = FindRigctlCommand(TakeWord(line));
  } else {
    command = FindRigctlCommand(line.front());
    line.remove_prefix(1);
  }
  if (command == nullptr) {
    RigctlReply(out, separator).End(Rprt::kNotImplemented, false);
    return false;
  }
  Run(*command, separator, line, out);
  return true;
}

void RigctlSession::Run(const RigctlCommand& command, char separator, std::string_view& line, std::string& out) {
  RigctlReply reply(out, separator);
  RigctlCall call{.rig = rig_, .client = client_, .reply = reply, .vfo = rig_.vfo_of(client_)};
  SkipBlanks(line);
  const std::string_view begin = line;
  std::string_view rest = line;
  if (const std::string_view word = TakeWord(rest); command.of_vfo && !word.empty() && VfoNamed(word) != '?') {
    const char named = VfoNamed(word);
    call.vfo = named == '\0' ? call.vfo : named;
    line = rest;
  }
  if (command.takes_rest) {
    SkipBlanks(line);
    call.arguments.push_back(std::exchange(line, {}));
  }
  while (static_cast<int>(call.arguments.size()) < command.arguments) {
    const std::string_view word = TakeWord(line);
    if (word.empty()) break;
    call.arguments.push_back(word);
    if (word == "?") break;
  }
  if (!command.bare) reply.Begin(command.name, TrimEnd(begin.substr(0, begin.size() - line.size())));
  const bool enough = static_cast<int>(call.arguments.size()) + command.optional >= command.arguments;
  const bool asks = call.argument(0) == "?" && !command.takes_rest;
  Rprt code = Rprt::kInvalid;
  if (command.run == nullptr) {
    code = Rprt::kNotAvailable;
  } else if (enough || asks) {
    const bool may = command.kind != RigctlKind::kChanges || rig_.writable || asks;
    code = may ? command.run(call) : Rprt::kRejected;
  }
  if (!command.bare) reply.End(code, command.kind == RigctlKind::kTells);
}

}  // namespace kvx::links
