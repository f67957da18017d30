#include "console/keyer_lamp.h"

#include <QCoreApplication>

#include "console/setup_key_rows.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("KeyerLamp", text);
}

}  // namespace

QString KeyerState(const Station& station) {
  const std::string& state = *station.console.KeyerState;
  const keyer::KeyerSettings& settings = station.keyer.settings();
  if (settings.kind == keyer::KeyerKind::kNone) return Tr("No keyer");
  const QString name = settings.kind == keyer::KeyerKind::kRigLine
                           ? Tr("Rig port")
                           : KeyerPortCaption(keyer::KeyerWord(settings.kind, settings.port));
  return name + " " + (state == "none" ? Tr("cannot be used") : widgets::ToQt(state));
}

QString KeyerLamp(const Station& station, const widgets::Theme& theme) {
  const std::string& state = *station.console.KeyerState;
  const bool good = state == "ready" || state == "busy";
  const QColor color = good ? theme.green : state == "failed" ? theme.red : theme.quiet_ink;
  return QString("<span style='color:%1'>●</span> %2").arg(color.name(), KeyerState(station).toHtmlEscaped());
}

}  // namespace kvx::console
