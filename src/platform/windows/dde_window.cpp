#include "platform/windows/dde_window.h"

// In this order.
#include <windows.h>

#include <dde.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "platform/gateway_lines.h"
#include "platform/windows/dde_search.h"

namespace kvx::platform {
namespace {

constexpr char kServiceClass[] = "KvxDdeService";
constexpr char kConversationClass[] = "KvxDdeConversation";
constexpr std::size_t kMostConversations = 64;
constexpr std::size_t kMostCalls = 64;  // of all clients, whose outcome is not known yet
constexpr std::size_t kMostLinks = 32;  // of one conversation
constexpr UINT kSweepMilliseconds = 2000;
constexpr int kHighestCall = 999'999;
constexpr UINT_PTR kSweepTimer = kHighestCall + 1;  // the others have the numbers of their calls
constexpr UINT kPatienceMilliseconds = 3000;        // for the outcome of a call
constexpr DWORD kFarewellMilliseconds = 300;        // for clients to take note of the end
constexpr WORD kDone = 0x8000;                      // of an acknowledgement
constexpr WORD kAskForAck = 0x8000;                 // of an advise link: the client acknowledges each piece of data
constexpr WORD kNoData = 0x4000;                    // of an advise link: the client asks for the data itself
constexpr WORD kIsResponse = 0x1000;
constexpr WORD kReceiverFrees = 0x2000;

std::string AtomText(ATOM atom) {
  std::array<char, 256> name{};
  const UINT size = atom == 0 ? 0 : GlobalGetAtomNameA(atom, name.data(), static_cast<int>(name.size()));
  return {name.data(), size};
}

std::string MemoryText(HGLOBAL memory, std::size_t from) {
  const std::size_t size = memory == nullptr ? 0 : GlobalSize(memory);
  const char* bytes = size <= from ? nullptr : static_cast<const char*>(GlobalLock(memory));
  if (bytes == nullptr) return {};
  std::string text(bytes + from, std::min(size - from, 2 * kLongestGatewayText));
  GlobalUnlock(memory);
  // A client in wide characters may send such ones: of each the low byte.
  if (text.size() > 3 && text[0] != '\0' && text[1] == '\0' && text[2] != '\0' && text[3] == '\0') {
    std::string narrow;
    for (std::size_t i = 0; i < text.size(); i += 2) narrow += text[i];
    text = std::move(narrow);
  }
  return GatewayText(text);
}

HGLOBAL MakeDataMemory(WORD flags, const std::string& block) {
  const std::size_t head = offsetof(DDEDATA, Value);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, head + block.size());
  char* bytes = memory == nullptr ? nullptr : static_cast<char*>(GlobalLock(memory));
  if (bytes == nullptr) return nullptr;
  const std::array<WORD, 2> fields{flags, CF_TEXT};
  std::memcpy(bytes, fields.data(), sizeof fields);
  std::memcpy(bytes + head, block.data(), block.size());
  GlobalUnlock(memory);
  return memory;
}

/// Two further words, or a word and a handle, of a message's parameter; frees what had held them.
struct Unpacked {
  Unpacked(UINT message, LPARAM parameter) {
    UnpackDDElParam(message, parameter, &low, &high);
    FreeDDElParam(message, parameter);
  }
  ATOM atom() const { return static_cast<ATOM>(high); }
  HGLOBAL memory() const { return reinterpret_cast<HGLOBAL>(low); }  // NOLINT: the platform's own way
  UINT_PTR low = 0;
  UINT_PTR high = 0;
};

/// `memory`: what came with the message. Wine has made a copy of it for this program, whoever is to free the client's.
void PostAck(HWND from, HWND to, bool done, UINT_PTR what, HGLOBAL memory = nullptr) {
  const LPARAM parameter = PackDDElParam(WM_DDE_ACK, done ? kDone : 0, what);
  if (!PostMessageA(to, WM_DDE_ACK, reinterpret_cast<WPARAM>(from), parameter)) FreeDDElParam(WM_DDE_ACK, parameter);
  if (memory != nullptr) GlobalFree(memory);
}

}  // namespace

class DdeWindow::Service {
 public:
  explicit Service(DdeWindow& owner) : owner_(owner) {}
  ~Service();

  Outcome Start(const std::string& service, const std::string& topic);
  void SetData(std::string_view name, std::string block);
  void Answer(int call, bool done);
  bool is_free() const { return !search_.is_found(); }

  struct Item {
    std::string name;
    bool advise = false;
    std::string block = {};
  };
  std::vector<Item> items;
  int conversations() const { return static_cast<int>(conversations_.size()); }

 private:
  struct Link {
    std::string item;    ///< as the client has named it
    std::size_t number;  ///< of the item
    WORD options;
    bool waits = false;  ///< for the client's acknowledgement
    bool stale = false;  ///< newer data have come that could not be sent yet
  };
  struct Conversation {
    HWND client = nullptr;
    std::vector<Link> links = {};
  };
  struct Call {
    HWND window;
    UINT_PTR what;   ///< the execute's command, or the poke's item
    HGLOBAL memory;  ///< what came with it
  };

  static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  bool Register(const char* name, WNDPROC receive) const;
  HWND MakeWindow(const char* name);
  LRESULT Dispatch(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void Welcome(HWND client, ATOM service, ATOM topic);
  void Sweep();
  void Give(HWND window, HWND client, LPARAM lparam);
  void BeginLink(HWND window, HWND client, LPARAM lparam);
  void EndLinks(HWND window, HWND client, LPARAM lparam);
  void Acknowledged(HWND window, LPARAM lparam);
  void Execute(HWND window, HWND client, LPARAM lparam);
  void Poke(HWND window, HWND client, LPARAM lparam);
  int Remember(HWND window, UINT_PTR what, HGLOBAL memory);
  void End(HWND window, bool tell);
  std::size_t Find(const std::string& name) const;
  bool Send(HWND window, HWND client, const Link& link, WORD flags, const std::string& block);
  void Advise(HWND window, HWND client, Link& link);
  bool HasCall(HWND window) const;

  DdeWindow& owner_;
  std::string name_;
  std::string topic_;
  HWND window_ = nullptr;
  DdeSearch search_;
  std::map<HWND, Conversation> conversations_;
  std::map<int, Call> calls_;
  int last_call_ = 0;
  bool ending_ = false;
};

/// Ends each conversation and gives its client a moment to take note: one whose partner has vanished knows nothing.
DdeWindow::Service::~Service() {
  ending_ = true;
  for (const auto& [window, conversation] : conversations_)
    PostMessageA(conversation.client, WM_DDE_TERMINATE, reinterpret_cast<WPARAM>(window), 0);
  MSG message{};
  const ULONGLONG end = GetTickCount64() + kFarewellMilliseconds;
  while (!conversations_.empty() && GetTickCount64() < end) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, kFarewellMilliseconds / 10, QS_ALLINPUT);
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  }
  while (!conversations_.empty()) End(conversations_.begin()->first, false);
  if (window_ != nullptr) DestroyWindow(window_);
}

LRESULT CALLBACK DdeWindow::Service::Receive(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* service = reinterpret_cast<Service*>(GetWindowLongPtrA(window, GWLP_USERDATA));  // NOLINT
  return service == nullptr ? DefWindowProcA(window, message, wparam, lparam)
                            : service->Dispatch(window, message, wparam, lparam);
}

bool DdeWindow::Service::Register(const char* name, WNDPROC receive) const {
  WNDCLASSA window{};
  window.lpfnWndProc = receive;
  window.hInstance = GetModuleHandleA(nullptr);
  window.lpszClassName = name;
  return RegisterClassA(&window) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

/// Never shown. A top-level one, because those alone are asked for a service.
HWND DdeWindow::Service::MakeWindow(const char* name) {
  return CreateWindowExA(0, name, "", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
}

DdeWindow::Outcome DdeWindow::Service::Start(const std::string& service, const std::string& topic) {
  name_ = service;
  topic_ = topic;
  if (window_ != nullptr) return Outcome::kRegistered;
  if (!Register(kServiceClass, Receive) || !Register(kConversationClass, Receive)) return Outcome::kFailed;
  const HWND window = MakeWindow(kServiceClass);
  if (window == nullptr) return Outcome::kFailed;
  if (search_.Find(name_, topic_)) {
    DestroyWindow(window);
    return Outcome::kFound;
  }
  window_ = window;
  SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  return Outcome::kRegistered;
}

LRESULT DdeWindow::Service::Dispatch(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  const HWND client = reinterpret_cast<HWND>(wparam);  // NOLINT: of every DDE message
  if (message == WM_DDE_INITIATE) {
    if (window == window_ && !ending_) Welcome(client, LOWORD(lparam), HIWORD(lparam));
    return 0;
  }
  if (message == WM_TIMER) return wparam == kSweepTimer ? Sweep() : Answer(static_cast<int>(wparam), false), 0;
  const auto conversation = conversations_.find(window);
  if (message < WM_DDE_FIRST || message > WM_DDE_LAST || conversation == conversations_.end())
    return DefWindowProcA(window, message, wparam, lparam);
  if (client != conversation->second.client) return 0;  // nobody else belongs here
  switch (message) {
    case WM_DDE_REQUEST:
      Give(window, client, lparam);
      break;
    case WM_DDE_ADVISE:
      BeginLink(window, client, lparam);
      break;
    case WM_DDE_UNADVISE:
      EndLinks(window, client, lparam);
      break;
    case WM_DDE_ACK:
      Acknowledged(window, lparam);
      break;
    case WM_DDE_EXECUTE:
      Execute(window, client, lparam);
      break;
    case WM_DDE_POKE:
      Poke(window, client, lparam);
      break;
    case WM_DDE_TERMINATE:
      End(window, !ending_);
      break;
    default:
      break;
  }
  return 0;
}

/// 0 for service or topic stands for any; there is one service, whatever the topic is called.
void DdeWindow::Service::Welcome(HWND client, ATOM service, ATOM topic) {
  if (service != 0 && lstrcmpiA(AtomText(service).c_str(), name_.c_str()) != 0) return;
  Sweep();
  if (conversations_.size() >= kMostConversations) return;
  const HWND window = MakeWindow(kConversationClass);
  if (window == nullptr) return;
  conversations_[window] = {client};
  SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  const std::string about = topic == 0 ? topic_ : AtomText(topic);
  SendMessageA(client, WM_DDE_ACK, reinterpret_cast<WPARAM>(window),
               MAKELPARAM(GlobalAddAtomA(name_.c_str()), GlobalAddAtomA(about.c_str())));
  SetTimer(window_, kSweepTimer, kSweepMilliseconds, nullptr);
  if (owner_.on_conversations) owner_.on_conversations();
}

/// Ends conversations with clients that have gone without a word.
void DdeWindow::Service::Sweep() {
  std::vector<HWND> gone;
  for (const auto& [window, conversation] : conversations_) {
    if (!IsWindow(conversation.client)) gone.push_back(window);
  }
  for (const HWND window : gone) End(window, false);
  if (conversations_.empty()) KillTimer(window_, kSweepTimer);
}

/// The number of the item that a name stands for; items.size() for none.
std::size_t DdeWindow::Service::Find(const std::string& name) const {
  std::size_t number = 0;
  while (number < items.size() && name.find(items[number].name) == std::string::npos) ++number;
  return number;
}

bool DdeWindow::Service::Send(HWND window, HWND client, const Link& link, WORD flags, const std::string& block) {
  const ATOM atom = GlobalAddAtomA(link.item.c_str());
  const bool with_data = (flags & kNoData) == 0;
  const HGLOBAL memory = with_data ? MakeDataMemory(flags | kReceiverFrees, block) : nullptr;
  const LPARAM parameter = PackDDElParam(WM_DDE_DATA, reinterpret_cast<UINT_PTR>(memory), atom);
  if ((memory != nullptr || !with_data) &&
      PostMessageA(client, WM_DDE_DATA, reinterpret_cast<WPARAM>(window), parameter)) {
    return true;
  }
  FreeDDElParam(WM_DDE_DATA, parameter);
  if (memory != nullptr) GlobalFree(memory);
  GlobalDeleteAtom(atom);
  return false;
}

void DdeWindow::Service::Give(HWND window, HWND client, LPARAM lparam) {
  const WORD format = LOWORD(lparam);
  const ATOM atom = HIWORD(lparam);
  const std::string name = AtomText(atom);
  const std::size_t number = Find(name);
  if (format == CF_TEXT && number < items.size() && !items[number].block.empty() &&
      Send(window, client, {.item = name, .number = number, .options = 0}, kIsResponse, items[number].block)) {
    GlobalDeleteAtom(atom);
  } else {
    PostAck(window, client, false, atom);
  }
}

void DdeWindow::Service::BeginLink(HWND window, HWND client, LPARAM lparam) {
  const Unpacked what(WM_DDE_ADVISE, lparam);
  std::array<WORD, 2> options{};  // flags, format
  if (const void* bytes = what.memory() == nullptr ? nullptr : GlobalLock(what.memory())) {
    if (GlobalSize(what.memory()) >= sizeof options) std::memcpy(options.data(), bytes, sizeof options);
    GlobalUnlock(what.memory());
  }
  const std::string name = AtomText(what.atom());
  const std::size_t number = Find(name);
  std::vector<Link>& links = conversations_[window].links;
  const bool known = options[1] == CF_TEXT && number < items.size() && items[number].advise;
  if (known) std::erase_if(links, [&](const Link& link) { return link.item == name; });
  const bool taken = known && links.size() < kMostLinks;
  if (taken) links.push_back({.item = name, .number = number, .options = options[0]});
  PostAck(window, client, taken, what.atom(), what.memory());
}

/// Item 0: all of them.
void DdeWindow::Service::EndLinks(HWND window, HWND client, LPARAM lparam) {
  const ATOM atom = HIWORD(lparam);
  const std::string name = AtomText(atom);
  const auto ended =
      std::erase_if(conversations_[window].links, [&](const Link& link) { return atom == 0 || link.item == name; });
  PostAck(window, client, ended > 0, atom);
}

/// Whether the client waits for the outcome of a call: many take whatever comes next for it.
bool DdeWindow::Service::HasCall(HWND window) const {
  return std::any_of(calls_.begin(), calls_.end(), [&](const auto& call) { return call.second.window == window; });
}

void DdeWindow::Service::Advise(HWND window, HWND client, Link& link) {
  const std::string& block = items[link.number].block;
  link.stale = link.waits || HasCall(window);
  if (link.stale || block.empty()) return;
  const WORD flags = link.options & (kAskForAck | kNoData);
  link.waits = Send(window, client, link, flags, block) && (flags & kAskForAck) != 0;
}

void DdeWindow::Service::Acknowledged(HWND window, LPARAM lparam) {
  const Unpacked what(WM_DDE_ACK, lparam);
  const std::string name = AtomText(what.atom());
  GlobalDeleteAtom(what.atom());
  Conversation& conversation = conversations_[window];
  for (Link& link : conversation.links) {
    if (link.item != name || !std::exchange(link.waits, false)) continue;
    if (link.stale) Advise(window, conversation.client, link);
  }
}

void DdeWindow::Service::SetData(std::string_view name, std::string block) {
  for (std::size_t number = 0; number < items.size(); ++number) {
    if (items[number].name != name) continue;
    items[number].block = std::move(block);
    for (auto& [window, conversation] : conversations_) {
      for (Link& link : conversation.links) {
        if (link.number == number) Advise(window, conversation.client, link);
      }
    }
    return;
  }
}

/// Gives the call its number; 0 when there are too many of them.
int DdeWindow::Service::Remember(HWND window, UINT_PTR what, HGLOBAL memory) {
  if (calls_.size() >= kMostCalls) return 0;
  last_call_ = last_call_ % kHighestCall + 1;
  calls_[last_call_] = {window, what, memory};
  SetTimer(window_, static_cast<UINT_PTR>(last_call_), kPatienceMilliseconds, nullptr);
  return last_call_;
}

void DdeWindow::Service::Execute(HWND window, HWND client, LPARAM lparam) {
  const auto command = reinterpret_cast<HGLOBAL>(lparam);  // NOLINT
  const std::string text = MemoryText(command, 0);
  const int call = Remember(window, static_cast<UINT_PTR>(lparam), command);
  if (call == 0) return PostAck(window, client, false, static_cast<UINT_PTR>(lparam), command);
  if (owner_.on_execute) owner_.on_execute(call, text);
}

void DdeWindow::Service::Poke(HWND window, HWND client, LPARAM lparam) {
  const Unpacked what(WM_DDE_POKE, lparam);
  std::array<WORD, 2> head{};  // flags, format
  if (const void* bytes = what.memory() == nullptr ? nullptr : GlobalLock(what.memory())) {
    if (GlobalSize(what.memory()) >= sizeof head) std::memcpy(head.data(), bytes, sizeof head);
    GlobalUnlock(what.memory());
  }
  const std::string text = MemoryText(what.memory(), sizeof head);
  const int call = head[1] == CF_TEXT ? Remember(window, what.atom(), what.memory()) : 0;
  if (call == 0) return PostAck(window, client, false, what.atom(), what.memory());
  if (owner_.on_poke) owner_.on_poke(call, GatewayText(AtomText(what.atom())), text);
}

void DdeWindow::Service::Answer(int number, bool done) {
  const auto found = calls_.find(number);
  if (found == calls_.end()) return;
  const Call call = found->second;
  calls_.erase(found);
  KillTimer(window_, static_cast<UINT_PTR>(number));
  const auto conversation = conversations_.find(call.window);
  if (conversation == conversations_.end()) {
    GlobalFree(call.memory);
    return;
  }
  const HWND client = conversation->second.client;
  PostAck(call.window, client, done, call.what, call.memory);
  for (Link& link : conversation->second.links) {
    if (link.stale) Advise(call.window, client, link);
  }
}

void DdeWindow::Service::End(HWND window, bool tell) {
  const auto found = conversations_.find(window);
  if (found == conversations_.end()) return;
  const HWND client = found->second.client;
  conversations_.erase(found);
  if (tell) PostMessageA(client, WM_DDE_TERMINATE, reinterpret_cast<WPARAM>(window), 0);
  DestroyWindow(window);
  if (!ending_ && owner_.on_conversations) owner_.on_conversations();
}

DdeWindow::DdeWindow() : service_(std::make_unique<Service>(*this)) {}

DdeWindow::~DdeWindow() = default;

void DdeWindow::AddItem(std::string name, bool advise) {
  service_->items.push_back({std::move(name), advise});
}

void DdeWindow::SetData(std::string_view name, std::string block) {
  service_->SetData(name, std::move(block));
}

DdeWindow::Outcome DdeWindow::Start(const std::string& service, const std::string& topic) {
  return service_->Start(service, topic);
}

void DdeWindow::Answer(int call, bool done) {
  service_->Answer(call, done);
}

bool DdeWindow::is_free() const {
  return service_->is_free();
}

int DdeWindow::conversations() const {
  return service_->conversations();
}

}  // namespace kvx::platform
