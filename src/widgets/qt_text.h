#pragma once

#include <QFont>
#include <QString>
#include <QWidget>
#include <string_view>

namespace kvx::widgets {

/// A text of the engine, which is UTF-8.
inline QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Letters of one width, in the size of the application's text.
QFont FixedFont();

/// Gives a widget another role of the style sheet.
void SetRole(QWidget* widget, const char* role);

}  // namespace kvx::widgets
