#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kvx::platform {

// The lines between the console and its DDE gateway, a Windows program that Wine runs; one each way is a pipe. Words
// are parted by one blank, a text is the rest of its line, in the one-byte code page of the platform.
//
//   to the gateway                          from the gateway
//     item NAME [advise]                      registered, found, or failed WHY
//     data NAME SIZE TEXT                     clients N
//     service NAME TOPIC                      call N execute TEXT
//     done N yes, done N no                   call N poke NAME TEXT
//     again
//
// The items come first, and what follows "service" is their state: a text filled up with NULs to a block of SIZE bytes,
// which every request is answered from and every advise link gets; SIZE 0: there is no data. "done" answers a call.
// "again" after "found" looks whether the service is free now. The end of its input ends the gateway.

inline constexpr std::size_t kLongestGatewayLine = 1024;
inline constexpr std::size_t kLongestGatewayText = 250;
inline constexpr std::size_t kLargestGatewayBlock = 512;

/// Takes the first word off a line, and the blank behind it.
std::string_view TakeWord(std::string_view& line);
/// A word as a number; -1 for what is none or has more than nine digits.
int WordNumber(std::string_view word);
/// A text of somebody else fit for a line: up to its first NUL, control characters as blanks, bounded.
std::string GatewayText(std::string_view bytes);

/// Cuts what arrives into lines. One that is too long is left out.
class GatewayLines {
 public:
  std::vector<std::string> Take(std::string_view bytes);
  void Clear();

 private:
  std::string line_;
  bool overlong_ = false;
};

}  // namespace kvx::platform
