#pragma once

#include <QSocketNotifier>
#include <memory>
#include <string>

namespace kvx::platform {

/// Lines to standard output that never make the program wait: a reader that is slow or has stopped reading gets what
/// fits a bounded buffer, and events beyond it are dropped; answers have a larger one. Nothing is written once the
/// reader has gone.
class StandardOutput final {
 public:
  static constexpr std::size_t kMostWaiting = 4 << 20;
  static constexpr std::size_t kMostWithAnswers = 64 << 20;

  explicit StandardOutput(int descriptor = 1);
  ~StandardOutput();

  void WriteLine(const std::string& line) { Add(line, kMostWaiting); }
  void WriteAnswer(const std::string& line) { Add(line, kMostWithAnswers); }
  /// Gives a slow reader up to half a second to take what is waiting; for the end of the program.
  void Flush();

 private:
  void Add(const std::string& line, std::size_t most);
  void Send();
  std::size_t bytes_waiting() const { return waiting_.size() - sent_; }

  const int descriptor_;
  bool gone_ = false;
  std::string waiting_;
  std::size_t sent_ = 0;  ///< of `waiting_`, from its front
  std::unique_ptr<QSocketNotifier> writable_;
};

}  // namespace kvx::platform
