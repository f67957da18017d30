#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <string>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// Controls for the settings of a table: a switch, a list or a line for each, put into a page's form. What is refused
/// stays in its control to be corrected; Refresh shows what is stored. Everything is borrowed.
class SetupKeyRows final : public QObject {
  Q_OBJECT

 public:
  SetupKeyRows(StationSetup& setup, SetupForm& form) : setup_(setup), form_(form) {}

  void Add(const config::KeptSetting& setting);
  /// Stores what its control shows.
  void Keep(const config::KeptSetting& setting);
  /// What its control shows, as it would be stored.
  QString value(const config::KeptSetting& setting) const { return rows_.at(setting.key).value(); }
  void Refresh();

  std::function<void(const config::KeptSetting& setting)> on_kept;

 private:
  struct Row {
    std::function<void(const config::Settings& stored)> show;
    std::function<QString()> value;
  };

  void AddSwitch(const config::KeptSetting& setting);
  void AddChoice(const config::KeptSetting& setting);
  void AddLine(const config::KeptSetting& setting);

  StationSetup& setup_;
  SetupForm& form_;
  std::map<std::string, Row> rows_;  ///< by key
};

/// How a list shows a word of the settings file: "COM 1", "Use Rig Port".
QString KeyerPortCaption(const std::string& word);

/// Lays a long page out: its rows scroll, and the line for what came of a change stays in view below them.
void LayOutLongPage(QWidget* page, QWidget* rows, SetupForm& form);

}  // namespace kvx::console
