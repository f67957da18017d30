// Serves three items by the adapter for the platform's DDE library, with answers of its own. A line on standard input
// is the new text of HRD_MODE; "stop" ends it.

#include <windows.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/windows/dde_library.h"

namespace {

using kvx::platform::DdeAnswer;
using kvx::platform::DdeCall;
using kvx::platform::DdeService;
using kvx::platform::DdeType;

void Say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

DWORD WINAPI ReadInput(void* argument) {
  const auto main_thread = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(argument));
  std::array<char, 256> line{};
  while (std::fgets(line.data(), line.size(), stdin) != nullptr) {
    auto text = std::make_unique<std::string>(line.data());
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r')) text->pop_back();
    PostThreadMessageA(main_thread, WM_APP + 1, 0, reinterpret_cast<LPARAM>(text.release()));
  }
  PostThreadMessageA(main_thread, WM_QUIT, 0, 0);
  return 0;
}

}  // namespace

int main() {
  MSG message{};
  PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
  std::string mode = "USB";
  kvx::platform::DdeLibrary library;
  library.on_service = [](DdeService service, const std::string& why) {
    Say("service " + std::to_string(static_cast<int>(service)) + why);
  };
  library.on_call = [&mode](const DdeCall& call) -> DdeAnswer {
    const bool asks = call.type == DdeType::kRequest || call.type == DdeType::kAdviseRequest;
    if (call.type == DdeType::kExecute) Say("execute " + call.data);
    if (call.type == DdeType::kPoke) Say("poke " + call.item + " " + call.data);
    if (asks) return {call.item == "HRD_MODE", mode + std::string(4, '\0')};
    if (call.type == DdeType::kExecute) return {call.data != "NO"};
    return {call.type != DdeType::kAdviseStart || call.item == "HRD_MODE"};
  };
  library.Start("HRD_RADIO_000", "HRD_CAT", {});
  SetTimer(nullptr, 0, 500, nullptr);
  const auto self = reinterpret_cast<void*>(static_cast<std::uintptr_t>(GetCurrentThreadId()));
  CloseHandle(CreateThread(nullptr, 0, ReadInput, self, 0, nullptr));
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (message.hwnd == nullptr && message.message == WM_APP + 1) {
      const std::unique_ptr<std::string> line(reinterpret_cast<std::string*>(message.lParam));
      if (*line == "stop") break;
      mode = *line;
      library.PostAdvise("HRD_MODE");
    } else if (message.hwnd == nullptr && message.message == WM_TIMER) {
      library.TakeOver();
    } else {
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
  }
  return 0;
}
