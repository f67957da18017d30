// A DDE client on the platform's own DDE library, as the programs of the field are. Commands on standard input, one a
// line; each is answered by one line: "ok ...", "no ..." with the library's error. Data of advise links come as
// "advise ITEM TEXT" whenever they come.
//
//   connect SERVICE TOPIC ("-": any)   disconnect             request ITEM         execute TEXT   poke ITEM TEXT
//   advise ITEM                        advise-asking ITEM     advise-wide ITEM     unadvise ITEM
//   hold MS                            flood COUNT ITEM       refuse COUNT

#include <windows.h>

#include <ddeml.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

constexpr UINT kArrived = WM_APP + 1;
constexpr DWORD kPatience = 5000;

DWORD g_instance = 0;
HCONV g_conversation = nullptr;

void Say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

std::string TakeWord(std::string& line) {
  const std::string word = line.substr(0, line.find(' '));
  line.erase(0, word.size() + 1 > line.size() ? line.size() : word.size() + 1);
  return word;
}

std::string DataText(HDDEDATA data) {
  std::array<char, 256> bytes{};
  const DWORD size = DdeGetData(data, reinterpret_cast<BYTE*>(bytes.data()), bytes.size() - 1, 0);
  return std::to_string(size) + " " + bytes.data();
}

HDDEDATA CALLBACK Receive(UINT type, UINT, HCONV, HSZ, HSZ item, HDDEDATA data, ULONG_PTR, ULONG_PTR) {
  if (type == XTYP_ADVDATA) {
    std::array<char, 256> name{};
    DdeQueryStringA(g_instance, item, name.data(), name.size(), CP_WINANSI);
    Say(std::string("advise ") + name.data() + " " + (data == nullptr ? "- " : DataText(data)));
    return reinterpret_cast<HDDEDATA>(DDE_FACK);
  }
  return nullptr;
}

/// "ok SIZE TEXT", or "no ERROR".
std::string Transact(UINT type, const std::string& item, std::string data, UINT format = CF_TEXT) {
  const HSZ name = item.empty() ? nullptr : DdeCreateStringHandleA(g_instance, item.c_str(), CP_WINANSI);
  const bool sends = type == XTYP_EXECUTE || type == XTYP_POKE;
  const HDDEDATA answer = DdeClientTransaction(sends ? reinterpret_cast<BYTE*>(data.data()) : nullptr,
                                               sends ? static_cast<DWORD>(data.size() + 1) : 0, g_conversation, name,
                                               type == XTYP_EXECUTE ? 0 : format, type, kPatience, nullptr);
  if (name != nullptr) DdeFreeStringHandle(g_instance, name);
  if (answer == nullptr) return "no " + std::to_string(DdeGetLastError(g_instance));
  if (type != XTYP_REQUEST) return "ok";
  const std::string text = DataText(answer);
  DdeFreeDataHandle(answer);
  return "ok " + text;
}

std::string Connect(const std::string& service, const std::string& topic) {
  const auto handle = [](const std::string& name) {
    return name == "-" ? nullptr : DdeCreateStringHandleA(g_instance, name.c_str(), CP_WINANSI);
  };
  const HSZ a = handle(service);
  const HSZ b = handle(topic);
  g_conversation = DdeConnect(g_instance, a, b, nullptr);
  for (const HSZ name : {a, b}) {
    if (name != nullptr) DdeFreeStringHandle(g_instance, name);
  }
  return g_conversation == nullptr ? "no " + std::to_string(DdeGetLastError(g_instance)) : "ok";
}

/// So many synchronous requests in a row: how many were answered, and in how many microseconds each.
std::string Flood(int count, const std::string& item) {
  LARGE_INTEGER begin{}, end{}, second{};
  QueryPerformanceFrequency(&second);
  QueryPerformanceCounter(&begin);
  int answered = 0;
  for (int i = 0; i < count; ++i) answered += Transact(XTYP_REQUEST, item, {}).starts_with("ok") ? 1 : 0;
  QueryPerformanceCounter(&end);
  const auto each = (end.QuadPart - begin.QuadPart) * 1'000'000 / second.QuadPart / (count > 0 ? count : 1);
  return "ok " + std::to_string(answered) + " " + std::to_string(each);
}

/// So many executes and pokes of some size that are refused.
std::string Refuse(int count) {
  int refused = 0;
  for (int i = 0; i < count; i += 2) {
    refused += Transact(XTYP_EXECUTE, {}, std::string(800, 'x')).starts_with("no") ? 1 : 0;
    refused += Transact(XTYP_POKE, "HRD_MODE", std::string(800, 'x')).starts_with("no") ? 1 : 0;
  }
  return "ok " + std::to_string(refused);
}

std::string Do(std::string line) {
  const std::string word = TakeWord(line);
  if (word == "connect") {
    const std::string service = TakeWord(line);
    return Connect(service, line);
  }
  if (word == "disconnect") return DdeDisconnect(g_conversation) ? "ok" : "no";
  if (word == "request") return Transact(XTYP_REQUEST, line, {});
  if (word == "execute") return Transact(XTYP_EXECUTE, {}, line);
  if (word == "advise") return Transact(XTYP_ADVSTART, line, {});
  if (word == "advise-wide") return Transact(XTYP_ADVSTART, line, {}, CF_UNICODETEXT);
  if (word == "advise-asking") return Transact(XTYP_ADVSTART | XTYPF_ACKREQ, line, {});
  if (word == "unadvise") return Transact(XTYP_ADVSTOP, line, {});
  if (word == "hold") return Sleep(static_cast<DWORD>(std::atoi(line.c_str()))), "ok";
  if (word == "refuse") return Refuse(std::atoi(line.c_str()));
  if (word == "flood") {
    const int count = std::atoi(TakeWord(line).c_str());
    return Flood(count, line);
  }
  if (word == "poke") {
    const std::string item = TakeWord(line);
    return Transact(XTYP_POKE, item, line);
  }
  return "no such command";
}

DWORD WINAPI ReadInput(void* argument) {
  const auto main_thread = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(argument));
  std::array<char, 1024> line{};
  while (std::fgets(line.data(), line.size(), stdin) != nullptr) {
    auto text = std::make_unique<std::string>(line.data());
    while (!text->empty() && (text->back() == '\n' || text->back() == '\r')) text->pop_back();
    PostThreadMessageA(main_thread, kArrived, 0, reinterpret_cast<LPARAM>(text.release()));
  }
  PostThreadMessageA(main_thread, WM_QUIT, 0, 0);
  return 0;
}

}  // namespace

int main() {
  MSG message{};
  PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
  if (DdeInitializeA(&g_instance, Receive, APPCMD_CLIENTONLY, 0) != DMLERR_NO_ERROR) return 1;
  Say("ready");
  const auto self = reinterpret_cast<void*>(static_cast<std::uintptr_t>(GetCurrentThreadId()));
  CloseHandle(CreateThread(nullptr, 0, ReadInput, self, 0, nullptr));
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (message.hwnd == nullptr && message.message == kArrived) {
      const std::unique_ptr<std::string> line(reinterpret_cast<std::string*>(message.lParam));
      Say(Do(*line));
    } else {
      DispatchMessageA(&message);
    }
  }
  DdeUninitialize(g_instance);
  return 0;
}
