#include "platform/qt/wine_gateway.h"

#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <algorithm>
#include <chrono>
#include <utility>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstPause = 5s;  // by then a session of Wine that nobody uses has ended
constexpr auto kLongestPause = 300s;
constexpr int kQuietFailures = 3;  // the first start on a system may take more than one
constexpr int kPatienceMilliseconds = 500;
constexpr qint64 kMostUnsent = 64 << 10;
constexpr qint64 kBite = 64 << 10;

/// Where distributions keep Wine: on the path, or the bare loader in a folder of its own.
QString FindWine() {
  for (const char* name : {"wine", "wine64"}) {
    const QString found = QStandardPaths::findExecutable(name);
    if (!found.isEmpty()) return found;
  }
  return QStandardPaths::findExecutable("wine64", {"/usr/lib/wine", "/usr/lib64/wine", "/opt/wine-stable/bin"});
}

QString PrefixFolder() {
  const QString chosen = qEnvironmentVariable("WINEPREFIX");
  return chosen.isEmpty() ? QDir::homePath() + "/.wine" : chosen;
}

bool HasPrefix() {
  return QFileInfo::exists(PrefixFolder() + "/system.reg");
}

QProcessEnvironment Environment() {
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  if (!environment.contains("WINEDEBUG")) environment.insert("WINEDEBUG", "-all");
  // A folder that is made for us is made without asking for what other programs might need.
  if (!HasPrefix() && !environment.contains("WINEDLLOVERRIDES"))
    environment.insert("WINEDLLOVERRIDES", "mscoree,mshtml=");
  return environment;
}

}  // namespace

WineGateway::WineGateway(std::string program) : program_(std::move(program)) {
  again_.setSingleShot(true);
  QObject::connect(&again_, &QTimer::timeout, &context_, [this] { Run(); });
}

WineGateway::~WineGateway() {
  Stop();
  for (const auto& process : ending_) {
    process->disconnect();
    if (process->state() == QProcess::NotRunning || process->waitForFinished(kPatienceMilliseconds)) continue;
    process->kill();
    process->waitForFinished(kPatienceMilliseconds);
  }
}

std::string WineGateway::missing() const {
  if (!QFileInfo(QString::fromStdString(program_)).isFile()) return "its gateway program kvx-dde.exe is missing";
  return FindWine().isEmpty() ? "Wine is not installed" : "";
}

bool WineGateway::is_at_hand() const {
  return HasPrefix() && missing().empty();
}

void WineGateway::Start(const std::string& service, const std::string& topic, const std::vector<std::string>& items) {
  Stop();
  service_ = service;
  topic_ = topic;
  items_ = items;
  failures_ = 0;
  Run();
}

void WineGateway::Stop() {
  again_.stop();
  conversations_ = 0;
  std::erase_if(ending_, [](const auto& process) { return process->state() == QProcess::NotRunning; });
  if (!process_) return;
  process_->disconnect();
  process_->closeWriteChannel();
  ending_.push_back(std::move(process_));
}

void WineGateway::Run() {
  if (const std::string what = missing(); !what.empty()) return Tell(DdeService::kMissing, what);
  lines_.Clear();
  why_.clear();
  process_ = std::make_unique<QProcess>();
  process_->setStandardErrorFile(QProcess::nullDevice());
  process_->setProcessEnvironment(Environment());
  process_->setWorkingDirectory("/");
  // What interrupts the console at its terminal does not reach the gateway, which ends with its input.
  process_->setChildProcessModifier([] { ::setsid(); });
  QObject::connect(process_.get(), &QProcess::readyReadStandardOutput, &context_, [this] { Receive(); });
  // Queued: whoever is told may stop the gateway, which ends the process object inside its own signal.
  QObject::connect(
      process_.get(), &QProcess::finished, &context_, [this] { Ended(); }, Qt::QueuedConnection);
  QObject::connect(
      process_.get(), &QProcess::errorOccurred, &context_,
      [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) Ended();
      },
      Qt::QueuedConnection);
  QStringList arguments{QString::fromStdString(program_)};
  if (qEnvironmentVariableIsEmpty("DISPLAY")) arguments << "--no-display";
  Tell(DdeService::kStarting, "");
  process_->start(FindWine(), arguments);
  for (const std::string& item : items_) {
    const bool advise = on_call && on_call({.type = DdeType::kAdviseStart, .topic = topic_, .item = item}).accepted;
    Say("item " + item + (advise ? " advise" : ""));
    SayData(item);
  }
  Say("service " + service_ + " " + topic_);
}

void WineGateway::Say(const std::string& line) {
  if (!process_) return;
  // One that does not listen is of no use: its end starts the next.
  if (process_->bytesToWrite() > kMostUnsent) return process_->kill();
  process_->write((line + "\n").c_str());
}

void WineGateway::SayData(const std::string& item) {
  if (!on_call) return;
  const DdeAnswer answer = on_call({.type = DdeType::kAdviseRequest, .topic = topic_, .item = item});
  const std::size_t size = answer.accepted ? std::min(answer.data.size(), kLargestGatewayBlock) : 0;
  Say("data " + item + " " + std::to_string(size) + " " + GatewayText(answer.data.substr(0, size)));
}

void WineGateway::PostAdvise(const std::string& item) {
  SayData(item);
}

void WineGateway::Receive() {
  while (process_ && process_->bytesAvailable() > 0) {
    const QByteArray bytes = process_->read(kBite);
    for (const std::string& line : lines_.Take({bytes.data(), static_cast<std::size_t>(bytes.size())})) {
      if (process_) TakeLine(line);
    }
  }
}

void WineGateway::TakeLine(std::string_view line) {
  const std::string_view word = TakeWord(line);
  if (word == "call") {
    TakeCall(line);
  } else if (word == "clients") {
    conversations_ = std::max(0, WordNumber(line));
  } else if (word == "registered") {
    failures_ = 0;
    for (const std::string& item : items_) SayData(item);  // what has changed while it started
    Tell(DdeService::kRegistered, "");
  } else if (word == "found") {
    failures_ = 0;
    Tell(DdeService::kFound, "");
  } else if (word == "failed") {
    why_ = line;
    process_->closeWriteChannel();
  }
}

void WineGateway::TakeCall(std::string_view line) {
  const std::string number(TakeWord(line));
  DdeCall call{.type = DdeType::kExecute, .topic = topic_};
  if (TakeWord(line) == "poke") {
    call.type = DdeType::kPoke;
    call.item = TakeWord(line);
  }
  call.data = line;
  const bool done = on_call && on_call(call).accepted;
  Say("done " + number + (done ? " yes" : " no"));
}

void WineGateway::Ended() {
  if (!process_ || process_->state() != QProcess::NotRunning) return;
  const std::string why = !why_.empty() ? why_ : "its gateway program has ended";
  process_.reset();
  conversations_ = 0;
  ++failures_;
  const auto pause = std::min<std::chrono::milliseconds>(kLongestPause, kFirstPause * failures_ * failures_);
  again_.start(pause);
  Tell(failures_ < kQuietFailures ? DdeService::kStarting : DdeService::kFailed, why);
}

void WineGateway::Tell(DdeService service, const std::string& why) {
  if (on_service) on_service(service, why);
}

}  // namespace kvx::platform
