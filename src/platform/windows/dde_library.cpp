#include "platform/windows/dde_library.h"

// In this order.
#include <windows.h>

#include <ddeml.h>

#include <array>
#include <utility>

#include "platform/gateway_lines.h"

namespace kvx::platform {
namespace {

DdeLibrary* g_library = nullptr;

HSZ Handle(void* string) {
  return static_cast<HSZ>(string);
}

std::string TextOf(DWORD instance, HSZ string) {
  const DWORD size = string == nullptr ? 0 : DdeQueryStringA(instance, string, nullptr, 0, CP_WINANSI);
  std::string text(size + 1, '\0');
  if (size > 0) DdeQueryStringA(instance, string, text.data(), size + 1, CP_WINANSI);
  text.resize(size);
  return text;
}

std::string BytesOf(HDDEDATA data) {
  if (data == nullptr) return {};
  std::string bytes(2 * kLongestGatewayText, '\0');
  bytes.resize(DdeGetData(data, reinterpret_cast<BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()), 0));  // NOLINT
  return GatewayText(bytes);
}

HDDEDATA Number(std::uintptr_t value) {
  return reinterpret_cast<HDDEDATA>(value);  // NOLINT: the library's way to answer
}

}  // namespace

struct DdeLibrary::Callback {
  /// What there is for a client that names no service or no topic.
  static HDDEDATA Offer(const DdeLibrary& library, HSZ topic, HSZ service) {
    if (service != nullptr && DdeCmpStringHandles(service, Handle(library.service_)) != 0) return nullptr;
    std::array<HSZPAIR, 2> pairs{{{Handle(library.service_), topic != nullptr ? topic : Handle(library.topic_)}, {}}};
    return DdeCreateDataHandle(library.instance_, reinterpret_cast<BYTE*>(pairs.data()),  // NOLINT
                               sizeof pairs, 0, nullptr, 0, 0);
  }

  /// The program that has the service ends it. Wine's library ends the service without its conversations.
  static bool HasLost(const DdeLibrary& library, UINT type, HCONV conversation, HSZ service) {
    if (library.found_ == nullptr) return false;
    if (type == XTYP_UNREGISTER) return DdeCmpStringHandles(service, Handle(library.service_)) == 0;
    return type == XTYP_DISCONNECT && conversation == library.found_;
  }

  static HDDEDATA CALLBACK Receive(UINT type, UINT format, HCONV conversation, HSZ topic, HSZ item, HDDEDATA data,
                                   ULONG_PTR, ULONG_PTR) {
    DdeLibrary* library = g_library;
    if (library == nullptr || !library->on_call) return nullptr;
    if (type == XTYP_WILDCONNECT) return Offer(*library, topic, item);
    if (HasLost(*library, type, conversation, topic)) {
      library->found_ = nullptr;
      return nullptr;
    }
    if (type == XTYP_CONNECT_CONFIRM) ++library->conversations_;
    if (type == XTYP_DISCONNECT && library->conversations_ > 0) --library->conversations_;
    const bool has_data = type == XTYP_EXECUTE || type == XTYP_POKE;
    const DdeAnswer answer = library->on_call({.type = static_cast<DdeType>(type),
                                               .format = format,
                                               .topic = TextOf(library->instance_, topic),
                                               .item = TextOf(library->instance_, item),
                                               .data = has_data ? BytesOf(data) : std::string()});
    switch (type) {
      case XTYP_REQUEST:
      case XTYP_ADVREQ: {
        if (!answer.accepted) return nullptr;
        std::string block = answer.data;
        return DdeCreateDataHandle(library->instance_, reinterpret_cast<BYTE*>(block.data()),  // NOLINT
                                   static_cast<DWORD>(block.size()), 0, item, CF_TEXT, 0);
      }
      case XTYP_EXECUTE:
      case XTYP_POKE:
        return Number(answer.accepted ? DDE_FACK : DDE_FNOTPROCESSED);
      default:
        return Number(answer.accepted ? TRUE : FALSE);
    }
  }
};

DdeLibrary::~DdeLibrary() {
  Stop();
}

void DdeLibrary::Start(const std::string& service, const std::string& topic, const std::vector<std::string>&) {
  Stop();
  DWORD instance = 0;
  if (const UINT failure = DdeInitializeA(&instance, Callback::Receive, 0, 0); failure != DMLERR_NO_ERROR)
    return Tell(DdeService::kFailed, "error " + std::to_string(failure));
  g_library = this;
  instance_ = instance;
  posting_instance_ = instance;
  service_ = DdeCreateStringHandleA(instance_, service.c_str(), CP_WINANSI);
  topic_ = DdeCreateStringHandleA(instance_, topic.c_str(), CP_WINANSI);
  Register();
}

void DdeLibrary::Register() {
  found_ = DdeConnect(instance_, Handle(service_), Handle(topic_), nullptr);
  if (found_ != nullptr) return Tell(DdeService::kFound, "");
  registered_ = DdeNameService(instance_, Handle(service_), nullptr, DNS_REGISTER) != nullptr;
  Tell(registered_ ? DdeService::kRegistered : DdeService::kNotRegistered, "");
}

void DdeLibrary::TakeOver() {
  if (instance_ != 0 && !registered_ && found_ == nullptr) Register();
}

void DdeLibrary::Stop() {
  if (instance_ == 0) return;
  if (std::exchange(registered_, false)) DdeNameService(instance_, Handle(service_), nullptr, DNS_UNREGISTER);
  DdeFreeStringHandle(instance_, Handle(std::exchange(service_, nullptr)));
  DdeFreeStringHandle(instance_, Handle(std::exchange(topic_, nullptr)));
  DdeUninitialize(instance_);
  if (g_library == this) g_library = nullptr;
  instance_ = posting_instance_ = 0;
  found_ = nullptr;
  conversations_ = 0;
}

void DdeLibrary::PostAdvise(const std::string& item) {
  if (posting_instance_ == 0) return;
  const HSZ name = DdeCreateStringHandleA(posting_instance_, item.c_str(), CP_WINANSI);
  DdePostAdvise(posting_instance_, Handle(topic_), name);
  DdeFreeStringHandle(posting_instance_, name);
}

void DdeLibrary::Tell(DdeService service, const std::string& why) {
  if (on_service) on_service(service, why);
}

}  // namespace kvx::platform
