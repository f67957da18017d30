// kvx-dde.exe: the console's DDE gateway. It runs under Wine beside the Windows programs that it serves, and talks with
// the console over its standard input and output; platform/gateway_lines.h has the lines. With "--no-display" it lets
// Wine's desktop come up without one.

#include <windows.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "platform/gateway_lines.h"
#include "platform/windows/dde_window.h"

namespace kvx::platform {
namespace {

constexpr UINT kArrived = WM_APP + 1;
constexpr UINT kEnded = WM_APP + 2;
constexpr std::size_t kMostItems = 16;

void Say(const std::string& line) {
  const std::string bytes = line + "\n";
  DWORD written = 0;
  // A console that has gone ends this program by its input.
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

/// Reads the console's lines in a thread of its own and hands what has come to the main one.
DWORD WINAPI ReadInput(void* argument) {
  const auto main_thread = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(argument));
  std::array<char, 4096> bytes{};
  DWORD size = 0;
  while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes.data(), bytes.size(), &size, nullptr) && size > 0) {
    auto piece = std::make_unique<std::string>(bytes.data(), size);
    if (PostThreadMessageA(main_thread, kArrived, 0, reinterpret_cast<LPARAM>(piece.get()))) piece.release();
  }
  PostThreadMessageA(main_thread, kEnded, 0, 0);
  return 0;
}

/// Without a display Wine makes no window unless its list of graphics drivers ends with "null"; where there is a
/// display the driver before that is taken as ever. What somebody has chosen stays. It counts from the next session of
/// Wine on: when this one has begun without it, no window can be made, and the console starts this program again.
void AllowNoDisplay() {
  constexpr const char* kValue = "Graphics";
  constexpr char kDrivers[] = "x11,null";
  HKEY key = nullptr;
  if (RegCreateKeyA(HKEY_CURRENT_USER, "Software\\Wine\\Drivers", &key) != ERROR_SUCCESS) return;
  if (RegQueryValueExA(key, kValue, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
    RegSetValueExA(key, kValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(kDrivers), sizeof kDrivers);
  RegCloseKey(key);
}

class Gateway {
 public:
  Gateway() {
    window_.on_execute = [](int call, std::string_view command) {
      Say("call " + std::to_string(call) + " execute " + std::string(command));
    };
    window_.on_poke = [](int call, std::string_view item, std::string_view data) {
      // The item is one word of the line.
      std::string name(item);
      for (char& c : name) c = c == ' ' ? '_' : c;
      Say("call " + std::to_string(call) + " poke " + name + " " + std::string(data));
    };
    window_.on_conversations = [this] { Say("clients " + std::to_string(window_.conversations())); };
  }

  void Take(std::string_view bytes) {
    for (const std::string& line : lines_.Take(bytes)) TakeLine(line);
  }

 private:
  void TakeLine(std::string_view line);
  void Start();

  GatewayLines lines_;
  DdeWindow window_;
  std::string service_;
  std::string topic_;
  std::size_t items_ = 0;
};

void Gateway::TakeLine(std::string_view line) {
  const std::string_view word = TakeWord(line);
  if (word == "item") {
    const std::string name(TakeWord(line));
    if (!name.empty() && items_++ < kMostItems) window_.AddItem(name, line == "advise");
  } else if (word == "data") {
    const std::string_view name = TakeWord(line);
    const int size = WordNumber(TakeWord(line));
    if (size < 0 || static_cast<std::size_t>(size) > kLargestGatewayBlock) return;
    std::string block(line);
    block.resize(static_cast<std::size_t>(size), '\0');
    window_.SetData(name, std::move(block));
  } else if (word == "done") {
    const int call = WordNumber(TakeWord(line));
    window_.Answer(call, line == "yes");
  } else if (word == "service" && service_.empty()) {
    service_ = TakeWord(line);
    topic_ = TakeWord(line);
    Start();
  } else if (word == "again" && window_.is_free()) {
    Start();
  }
}

void Gateway::Start() {
  switch (window_.Start(service_, topic_)) {
    case DdeWindow::Outcome::kRegistered:
      return Say("registered");
    case DdeWindow::Outcome::kFound:
      return Say("found");
    case DdeWindow::Outcome::kFailed:
      return Say("failed Windows programs can make no window here");
  }
}

int Run() {
  MSG message{};
  PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);  // there is a queue from now on
  Gateway gateway;
  const auto self = reinterpret_cast<void*>(static_cast<std::uintptr_t>(GetCurrentThreadId()));  // NOLINT
  const HANDLE reader = CreateThread(nullptr, 0, ReadInput, self, 0, nullptr);
  if (reader == nullptr) return 1;
  CloseHandle(reader);
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (message.hwnd == nullptr && message.message == kEnded) return 0;
    if (message.hwnd == nullptr && message.message == kArrived) {
      const std::unique_ptr<std::string> piece(reinterpret_cast<std::string*>(message.lParam));  // NOLINT
      gateway.Take(*piece);
    } else {
      DispatchMessageA(&message);
    }
  }
  return 0;
}

}  // namespace
}  // namespace kvx::platform

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--no-display") == 0) kvx::platform::AllowNoDisplay();
  return kvx::platform::Run();
}
