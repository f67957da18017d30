#include "platform/parallel_lines.h"

#include <algorithm>
#include <utility>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kHeldInPlace = 2ms;
constexpr int kFirstPin = 2;
constexpr int kLastPin = 9;

std::uint8_t With(std::uint8_t data, std::uint8_t line, bool high) {
  return static_cast<std::uint8_t>(high ? data | line : data & ~line);
}

void Tell(const PortAccess::Done& done, const Result<std::uint8_t>& data) {
  if (done) done(data);
}

}  // namespace

ParallelPort& ParallelLines::PortOf(int number) {
  Entry& entry = ports_[number];
  if (!entry.port) entry.port = maker_(number);
  if (!entry.port->is_open()) {
    const Status opened = entry.port->Open();
    entry.lost = !opened;
    if (!opened) Lost(number, opened.error());
    if (opened) entry.told.clear();
    if (opened && entry.raised != 0) LowerRaised(entry);
  }
  return entry.lost ? static_cast<ParallelPort&>(entry.shadow) : *entry.port;
}

void ParallelLines::LowerRaised(Entry& entry) {
  const auto data = entry.port->ReadData();
  if (data && entry.port->WriteData(With(*data, entry.raised, false))) entry.raised = 0;
}

void ParallelLines::Lost(int number, const Error& error) {
  Entry& entry = ports_[number];
  entry.port->Close();
  entry.lost = true;
  if (std::exchange(entry.told, error.message) != error.message && on_notice)
    on_notice(error.message + "; the lamps show what its lines would be");
}

Result<std::uint8_t> ParallelLines::ReadData(int port) {
  auto data = PortOf(port).ReadData();
  if (!data) {
    Lost(port, data.error());
    data = PortOf(port).ReadData();
  }
  if (data) ports_[port].shadow.WriteData(*data).ok();
  return data;
}

void ParallelLines::SendChar(const PortAccessCall& call, Done done) {
  if (call[kPin] < kFirstPin || call[kPin] > kLastPin || call[kPortNumber] < 1)
    return Tell(done, Error{ErrorCode::kInvalid, "there is no such line at a parallel port"});
  if (!pulse_) return Carry({call, std::move(done)});
  if (waiting_.size() < kMostWaiting) return waiting_.push_back({call, std::move(done)});
  Tell(done, Error{ErrorCode::kBusy, "the parallel port has not done what it was asked for: its pulses are long"});
}

void ParallelLines::Carry(const Waiting& waiting) {
  const int number = waiting.call[kPortNumber];
  const auto before = ReadData(number);
  if (!before) return Tell(waiting.done, before);
  ParallelPort& port = PortOf(number);
  if (waiting.call[kAction] == kPulse) return Raise(waiting, port, *before);
  const auto line = static_cast<std::uint8_t>(1U << (waiting.call[kPin] - kFirstPin));
  const Status written = port.WriteData(With(*before, line, waiting.call[kAction] == kSet));
  if (!written) Lost(number, written.error());
  Tell(waiting.done, written ? ReadData(number) : Result<std::uint8_t>(written.error()));
}

/// The length counts from before the line is raised to before it is lowered: both take the device as long.
void ParallelLines::Raise(const Waiting& waiting, ParallelPort& port, std::uint8_t data) {
  const int number = waiting.call[kPortNumber];
  const auto line = static_cast<std::uint8_t>(1U << (waiting.call[kPin] - kFirstPin));
  const auto length = std::chrono::microseconds(std::clamp(waiting.call[kMicroseconds], 0, kLongestPulse));
  const std::uint8_t after = With(data, line, false);
  port.ArmRelease(after);
  const TimePoint end = loop_.Now() + length;
  if (const Status raised = port.WriteData(With(data, line, true)); !raised) {
    port.DisarmRelease();
    Lost(number, raised.error());
    return Tell(waiting.done, raised.error());
  }
  pulse_ = std::make_unique<Pulse>(Pulse{number, &port, line, after, end, waiting.done});
  if (length <= kHeldInPlace) return EndPulse();
  timer_ = loop_.StartTimer(end - kHeldInPlace, [this] {
    timer_ = 0;
    EndPulse();
    CarryWaiting();
  });
}

void ParallelLines::EndPulse() {
  const auto pulse = std::exchange(pulse_, nullptr);
  const Status lowered = pulse->port->WriteDataAt(pulse->end, pulse->after);
  if (lowered) {
    pulse->port->DisarmRelease();
    ports_[pulse->number].shadow.WriteData(pulse->after).ok();
  } else {
    Lost(pulse->number, lowered.error());
    ports_[pulse->number].raised |= pulse->line;
    PortOf(pulse->number);
  }
  Tell(pulse->done, lowered ? pulse->port->ReadData() : Result<std::uint8_t>(lowered.error()));
}

void ParallelLines::CarryWaiting() {
  while (!pulse_ && !waiting_.empty()) {
    const Waiting next = std::move(waiting_.front());
    waiting_.pop_front();
    Carry(next);
  }
}

void ParallelLines::Close() {
  loop_.StopTimer(std::exchange(timer_, 0));
  waiting_.clear();
  if (pulse_) {
    pulse_->end = loop_.Now();
    pulse_->done = {};
    EndPulse();
  }
  for (auto& [number, entry] : ports_) {
    if (entry.raised != 0) PortOf(number);
    if (entry.port) entry.port->Close();
  }
}

}  // namespace kvx::platform
