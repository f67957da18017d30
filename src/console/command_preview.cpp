#include "console/command_preview.h"

#include "cat/dispatcher.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::console {
namespace {

/// A loop in which no time passes.
class StillLoop final : public Loop {
 public:
  TimePoint Now() const override { return {}; }
  UtcTime UtcNow() const override { return {}; }
  std::chrono::minutes LocalOffset() const override { return {}; }
  TimerId StartTimer(TimePoint, std::function<void()>) override { return 1; }
  void StopTimer(TimerId) override {}
};

/// A port that keeps what is written to it.
class RecordingPort final : public platform::SerialPort {
 public:
  Status Open(const platform::PortSettings&) override {
    open_ = true;
    return Ok();
  }
  void Close() override { open_ = false; }
  bool is_open() const override { return open_; }
  void Write(std::string_view bytes) override { written_ += bytes; }
  std::string Read() override { return {}; }
  std::size_t bytes_waiting() const override { return 0; }
  std::size_t bytes_unsent() const override { return 0; }
  void SetDtr(bool) override {}
  void SetRts(bool) override {}
  void DropUnsent() override {}

  const std::string& written() const { return written_; }

 private:
  bool open_ = false;
  std::string written_;
};

/// The values that go into commands.
void CopyValues(const Console& from, Console& to) {
  to.FreqDisp.Set(*from.FreqDisp);
  to.Offset.Set(*from.Offset);
  to.Mode.Set(*from.Mode);
  to.Xnarrow.Set(*from.Xnarrow);
  to.RigNumber.Set(*from.RigNumber);
  for (std::size_t i = 0; i < from.Slider.size(); ++i) to.Slider.Set(i, from.Slider[i]);
  for (std::size_t i = 0; i < from.Text5.size(); ++i) to.Text5.Set(i, from.Text5[i]);
  for (std::size_t i = 0; i < from.FunctionState.size(); ++i) to.FunctionState.Set(i, from.FunctionState[i]);
}

}  // namespace

CommandPreview PreviewCommand(const Console& console, const std::map<std::string, std::string>& button_values,
                              const config::RigDefinition& rig, std::string_view key_or_command) {
  StillLoop loop;
  RecordingPort port;
  Console values;
  CopyValues(console, values);
  cat::ArmedQueries armed;
  cat::RigLink link(loop, values, port);
  cat::Transmission transmission(values);
  cat::Dispatcher dispatcher(loop, values, link, rig, armed, transmission);
  for (const auto& [key, value] : button_values) dispatcher.SetButtonValue(key, value);
  link.OpenRigPort({.number = 1}, true);
  const cat::SendOutcome outcome = dispatcher.SendData(key_or_command);
  CommandPreview preview{.bytes = port.written(), .text = ShownBytes(port.written(), rig.binary())};
  preview.fault = *values.ErrorText;
  if (preview.bytes.empty() && preview.fault.empty()) {
    preview.fault =
        outcome == cat::SendOutcome::kNoTemplate ? "the rig has no such command" : "nothing is left to send";
  }
  return preview;
}

std::string ShownBytes(std::string_view bytes, bool binary) {
  if (binary) return SpacedHex(bytes);
  std::string shown;
  for (const char byte : ToVisible(bytes)) {
    const bool plain = static_cast<unsigned char>(byte) < 0x80;
    shown += plain ? std::string(1, byte) : "<0x" + HexText::FromBytes({&byte, 1}).digits + ">";
  }
  return shown;
}

}  // namespace kvx::console
