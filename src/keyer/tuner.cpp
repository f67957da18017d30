#include "keyer/tuner.h"

#include <utility>

namespace kvx::keyer {
namespace {

constexpr Duration kPatience = std::chrono::seconds(5);
constexpr const char* kTooLate = "The keyer was not ready in time: it is not tuned";

}  // namespace

Tuner::~Tuner() {
  loop_.StopTimer(limit_end_);
  ForgetWish();
}

void Tuner::Use(CwBackend* backend, Duration limit) {
  backend_ = backend;
  limit_ = limit;
  ForgetWish();
}

Status Tuner::Start() {
  if (backend_->ready()) return KeyDown();
  ForgetWish();
  wish_end_ = loop_.StartTimer(loop_.Now() + kPatience, [this] {
    wish_end_ = 0;
    Notice(kTooLate);
  });
  backend_->Open();
  return Ok();
}

void Tuner::Stop() {
  ForgetWish();
  if (*console_.Tune) KeyUp();
}

void Tuner::Ready() {
  if (!is_wished()) return;
  if (const Status down = KeyDown(); !down) Notice(down.error().message);
}

/// The limit runs before anybody hears of it, and whoever hears of it may end it at once.
Status Tuner::KeyDown() {
  ForgetWish();
  if (!backend_->Key(true)) return Error{ErrorCode::kInvalid, "This keyer cannot hold the key down"};
  loop_.StopTimer(limit_end_);
  limit_end_ = loop_.StartTimer(loop_.Now() + limit_, [this] {
    limit_end_ = 0;
    KeyUp();
  });
  console_.Tune.Set(true);
  if (!*console_.Tune) return Ok();
  Notice("Transmitter ON");
  if (*console_.Tune && on_key) on_key(true);
  return Ok();
}

void Tuner::KeyUp() {
  loop_.StopTimer(std::exchange(limit_end_, 0));
  if (backend_ != nullptr) backend_->Key(false);
  console_.Tune.Set(false);
  Notice("Transmitter Off");
  if (on_key) on_key(false);
}

void Tuner::ForgetWish() {
  loop_.StopTimer(std::exchange(wish_end_, 0));
}

void Tuner::Notice(const std::string& line) const {
  if (on_notice) on_notice(line);
}

}  // namespace kvx::keyer
