#include "console/status.h"

#include "console/accessory_commands.h"
#include "console/audio_commands.h"
#include "core/text.h"
#include "keyer/cw_text.h"

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
  std::string str() const { return (out_.empty() ? "{" : out_) + "}"; }

 private:
  std::string out_;
};

std::string KeyerJson(const Station& station) {
  const keyer::Keyer& keyer = station.keyer;
  const keyer::CwSender& sender = keyer.sender();
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(sender.left());
  return JsonObject()
      .Text("kind", keyer::KeyerWord(keyer.settings().kind, keyer.settings().port))
      .Number("port", keyer.settings().port)
      .Text("state", *station.console.KeyerState)
      .Flag("ready", keyer.ready())
      .Flag("failed", keyer.failed())
      .Number("speed", *station.console.CWSpeed)
      .Flag("tune", *station.console.Tune)
      .Text("sending", keyer::ShownSymbol(sender.current()))
      .Number("waiting", static_cast<std::int64_t>(sender.waiting_count()))
      .Number("left_ms", left.count())
      .str();
}

/// What the link monitor shows.
JsonObject ActivityJson(const links::LinkActivity& activity) {
  return JsonObject()
      .Number("asked", static_cast<std::int64_t>(activity.asked()))
      .Number("refused", static_cast<std::int64_t>(activity.refused()))
      .Text("last", ToVisible(activity.last()))
      .Text("answer", ToVisible(activity.answer()))
      .Text("last_refused", ToVisible(activity.last_refused()));
}

std::string NetJson(const links::NetServer& net) {
  return ActivityJson(net.activity())
      .Flag("on", net.is_listening())
      .Number("clients", static_cast<std::int64_t>(net.clients()))
      .Text("state", net.state())
      .str();
}

std::string DdeJson(const links::DdeServer& dde) {
  return ActivityJson(dde.activity())
      .Flag("on", dde.is_active())
      .Number("clients", dde.conversations())
      .Text("told", dde.told())
      .Text("state", dde.state())
      .str();
}

/// Of one of the links to a logger.
template <class Link>
JsonObject LoggerJson(const Link& link) {
  return ActivityJson(link.activity())
      .Flag("on", link.is_on())
      .Flag("open", link.is_open())
      .Number("port", link.settings().number)
      .Text("state", link.state());
}

std::string LinksJson(const Station& station) {
  JsonObject links;
  if (station.loggers) {
    links.Raw("logger", LoggerJson(station.loggers->logger).str());
    links.Raw("keyer", LoggerJson(station.loggers->winkey).Text("text", station.loggers->winkey.text()).str());
  }
  if (station.dde) links.Raw("dde", DdeJson(*station.dde));
  if (station.net) links.Raw("net", NetJson(*station.net));
  return links.str();
}

}  // namespace

std::string StatusJson(const Station& station) {
  const Console& console = station.console;
  const cat::Engine& engine = station.engine;
  JsonObject status;
  status.Text("rig", *console.RigName)
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
      .Raw("keyer", KeyerJson(station))
      .Raw("links", LinksJson(station))
      .Raw("antenna", AntennaJson(station))
      .Number("rx", static_cast<std::int64_t>(engine.link.received_bytes()))
      .Number("tx", static_cast<std::int64_t>(engine.link.sent_bytes()))
      .Number("replies", static_cast<std::int64_t>(engine.parser.replies_read()))
      .Number("refused", static_cast<std::int64_t>(engine.parser.refusals()));
  if (station.audio) status.Raw("audio", AudioJson(*station.audio));
  return status.str();
}

}  // namespace kvx::console
