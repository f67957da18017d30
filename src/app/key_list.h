#pragma once

#include <QString>
#include <QWidget>

namespace kvx::app {

/// The keys of a window, a line each: the window's name, the keys, what they do, with tabs between.
QString KeyList(const QString& window_name, const QWidget& window);

}  // namespace kvx::app
