#include "platform/windows/dde_search.h"

// In this order.
#include <windows.h>

#include <dde.h>

#include <utility>

namespace kvx::platform {
namespace {

constexpr char kSearchClass[] = "KvxDdeSearch";
constexpr UINT kSearchMilliseconds = 1000;

HWND Window(void* window) {
  return static_cast<HWND>(window);
}

/// The other program's window, which the own one keeps; null: none.
HWND FoundBy(HWND window) {
  return window == nullptr ? nullptr : reinterpret_cast<HWND>(GetWindowLongPtrA(window, GWLP_USERDATA));  // NOLINT
}

void EndConversation(HWND from, HWND with) {
  PostMessageA(with, WM_DDE_TERMINATE, reinterpret_cast<WPARAM>(from), 0);
}

/// The first server that answers is kept, others are left at once.
LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message != WM_DDE_ACK && message != WM_DDE_TERMINATE) return DefWindowProcA(window, message, wparam, lparam);
  const auto other = reinterpret_cast<HWND>(wparam);  // NOLINT
  const HWND found = FoundBy(window);
  if (message == WM_DDE_ACK) {
    GlobalDeleteAtom(LOWORD(lparam));
    GlobalDeleteAtom(HIWORD(lparam));
    if (found != nullptr) return EndConversation(window, other), 0;
    SetWindowLongPtrA(window, GWLP_USERDATA, static_cast<LONG_PTR>(wparam));
  } else if (found == other) {
    SetWindowLongPtrA(window, GWLP_USERDATA, 0);
    EndConversation(window, other);
  }
  return 0;
}

}  // namespace

DdeSearch::~DdeSearch() {
  if (is_found()) EndConversation(Window(window_), FoundBy(Window(window_)));
  if (window_ != nullptr) DestroyWindow(Window(window_));
}

bool DdeSearch::Find(const std::string& service, const std::string& topic) {
  WNDCLASSA kind{};
  kind.lpfnWndProc = Receive;
  kind.hInstance = GetModuleHandleA(nullptr);
  kind.lpszClassName = kSearchClass;
  RegisterClassA(&kind);
  if (window_ != nullptr) DestroyWindow(Window(window_));
  window_ = CreateWindowExA(0, kSearchClass, "", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, kind.hInstance, nullptr);
  if (window_ == nullptr) return false;
  const ATOM service_name = GlobalAddAtomA(service.c_str());
  const ATOM topic_name = GlobalAddAtomA(topic.c_str());
  DWORD_PTR result = 0;
  SendMessageTimeoutA(HWND_BROADCAST, WM_DDE_INITIATE, reinterpret_cast<WPARAM>(window_),
                      MAKELPARAM(service_name, topic_name), SMTO_ABORTIFHUNG, kSearchMilliseconds, &result);
  GlobalDeleteAtom(service_name);
  GlobalDeleteAtom(topic_name);
  if (!is_found()) DestroyWindow(Window(std::exchange(window_, nullptr)));
  return is_found();
}

bool DdeSearch::is_found() const {
  const HWND other = FoundBy(Window(window_));
  return other != nullptr && IsWindow(other) != 0;
}

}  // namespace kvx::platform
