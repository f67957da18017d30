#include "console/status.h"

#include "core/text.h"

namespace kvx::console {
namespace {

/// "[1,2,3]" or "[\"a\",\"b\"]"
template <class Values, class Format>
std::string JsonArray(const Values& values, Format format) {
  std::string out;
  for (std::size_t i = 0; i < values.size(); ++i) out += (out.empty() ? "[" : ",") + format(values[i]);
  return out + "]";
}

class JsonObject {
 public:
  JsonObject& Text(std::string_view name, std::string_view value) { return Raw(name, JsonString(value)); }
  JsonObject& Number(std::string_view name, std::int64_t value) { return Raw(name, std::to_string(value)); }
  JsonObject& Flag(std::string_view name, bool value) { return Raw(name, value ? "true" : "false"); }
  JsonObject& Raw(std::string_view name, std::string_view json) {
    out_ += (out_.empty() ? "{" : ",") + JsonString(name) + ":";
    out_ += json;
    return *this;
  }
  std::string str() const { return out_ + "}"; }

 private:
  std::string out_;
};

}  // namespace

std::string StatusJson(const Station& station) {
  const Console& console = station.console;
  const cat::Engine& engine = station.engine;
  return JsonObject()
      .Text("rig", *console.RigName)
      .Text("family", *console.RigType)
      .Number("port", station.settings().rig_port)
      .Number("speed", station.settings().rig_speed)
      .Flag("open", engine.link.is_open())
      .Text("port_state", *console.Port)
      .Text("freq", KhzText(*console.FreqDisp))
      .Number("hz", console.FreqDisp->hz())
      .Text("mode", Trim(*console.Mode))
      .Flag("narrow", *console.Xnarrow)
      .Text("vfo", std::string(1, *console.ActiveVfo))
      .Text("freq_a", KhzText(*console.FreqA))
      .Text("freq_b", KhzText(*console.FreqB))
      .Number("band", *console.BandNumber)
      .Text("from", KhzText(*console.FromF))
      .Text("to", KhzText(*console.ToF))
      .Text("step", *console.Channel)
      .Text("ref", KhzText(*console.Reference))
      .Text("offset", KhzText(*console.Offset))
      .Number("smeter", *console.SMeter)
      .Text("meter_name", *console.Label10)
      .Number("meter", *console.MeterValue)
      .Raw("sliders", JsonArray(console.Slider, [](int value) { return std::to_string(value); }))
      .Raw("fnval", JsonArray(console.Text5, [](const std::string& text) { return JsonString(text); }))
      .Flag("polling", *console.Polling)
      .Flag("transmitting", *console.Transmitting)
      .Text("rignumber", *console.RigNumber)
      .Number("slot", *console.RigSlot)
      .Text("utc", *console.RIGGMT)
      .Text("msg", *console.MsgArea)
      .Text("error", *console.ErrorText)
      .Text("spk", *console.SPKBX)
      .Raw("keyer", "null")
      .Raw("links", "{}")
      .Number("rx", static_cast<std::int64_t>(engine.link.received_bytes()))
      .Number("tx", static_cast<std::int64_t>(engine.link.sent_bytes()))
      .Number("replies", static_cast<std::int64_t>(engine.parser.replies_read()))
      .Number("refused", static_cast<std::int64_t>(engine.parser.refusals()))
      .str();
}

}  // namespace kvx::console
