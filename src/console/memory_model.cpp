#include "console/memory_model.h"

#include <QFont>
#include <algorithm>

#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {

using functions::MemoryChannel;
using widgets::ToQt;

namespace {

constexpr double kReadable = 4.5;  // contrast
constexpr double kHeardTint = 0.22;

/// Of the rows that hold nothing, as far as it can be read on the table's ground.
QColor QuietInk(const widgets::Theme& theme) {
  const QColor quiet = widgets::Mixed(theme.screen, theme.digits, 0.6);
  return widgets::Contrast(quiet, theme.screen) >= kReadable ? quiet : theme.digits;
}

}  // namespace

MemoryModel::MemoryModel(Station& station, const widgets::Appearance& appearance, QObject* parent)
    : QAbstractTableModel(parent), station_(station), appearance_(appearance), rows_(Matching()) {
  connect(&appearance_, &widgets::Appearance::Changed, this, &MemoryModel::ShowTuned);
}

std::vector<int> MemoryModel::Matching() const {
  std::vector<int> numbers;
  for (int number = 1; number <= functions::kChannels; ++number) {
    if (Passes(number, station_.memories.channel(number), filter_)) numbers.push_back(number);
  }
  return numbers;
}

void MemoryModel::SetFilter(const MemoryFilter& filter) {
  if (filter == filter_) return;
  filter_ = filter;
  Update();
}

void MemoryModel::Update() {
  std::vector<int> rows = Matching();
  if (rows != rows_) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
  } else {
    ShowTuned();
  }
}

void MemoryModel::ShowTuned() {
  if (!rows_.empty()) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, kColumns - 1));
}

int MemoryModel::NumberAt(int row) const {
  return row < 0 || row >= rowCount() ? 0 : rows_[static_cast<std::size_t>(row)];
}

int MemoryModel::RowOf(int number) const {
  const auto at = std::find(rows_.begin(), rows_.end(), number);
  return at == rows_.end() ? -1 : static_cast<int>(at - rows_.begin());
}

int MemoryModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int MemoryModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

const MemoryChannel& MemoryModel::ChannelAt(int row) const {
  return station_.memories.channel(NumberAt(row));
}

bool MemoryModel::IsTuned(const MemoryChannel& channel) const {
  return !channel.empty() && channel.frequency.displayed() == station_.console.FreqDisp->displayed();
}

QVariant MemoryModel::data(const QModelIndex& index, int role) const {
  const int number = NumberAt(index.row());
  if (number == 0) return {};
  const MemoryChannel& channel = ChannelAt(index.row());
  const int column = index.column();
  const bool box = column == kNarrow || column == kSkip;
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return box ? QVariant() : CellText(channel, number, column);
    case Qt::CheckStateRole:
      if (!box || channel.empty() || (column == kNarrow && !HasNarrow(channel))) return {};
      return (column == kNarrow ? channel.narrow : channel.skip) ? Qt::Checked : Qt::Unchecked;
    case Qt::AccessibleTextRole:
      return SpokenCell(number, column);
    case Qt::ToolTipRole:
      return column == kName || column == kComment ? CellText(channel, number, column) : QString();
    case Qt::TextAlignmentRole:
      return column == kNumber || column == kFrequency ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case Qt::ForegroundRole:
      return channel.empty() ? QVariant(QuietInk(appearance_.theme())) : QVariant();
    case Qt::BackgroundRole:
      return GroundOf(number);
    case Qt::FontRole:
      return FontOf(channel, column);
    default:
      return {};
  }
}

int MemoryModel::heard() const {
  const functions::ScanState& state = station_.functions.scanner.state();
  return station_.functions.scanner.running() && state.stop ? state.stop->channel : 0;
}

QVariant MemoryModel::GroundOf(int number) const {
  const widgets::Theme& theme = appearance_.theme();
  if (number != heard()) return {};
  return widgets::Mixed(theme.screen, theme.accent, kHeardTint);
}

/// Figures stand below each other; what is tuned is bold.
QVariant MemoryModel::FontOf(const MemoryChannel& channel, int column) const {
  const bool figures = column == kNumber || column == kFrequency;
  if (!figures && !IsTuned(channel)) return {};
  QFont font = figures ? widgets::FixedFont() : QFont();
  font.setBold(IsTuned(channel));
  return font;
}

QString MemoryModel::CellText(const MemoryChannel& channel, int number, int column) const {
  if (column == kNumber) return QString::number(number);
  if (channel.empty()) return {};
  switch (column) {
    case kName:
      return ToQt(channel.name);
    case kFrequency:
      return ToQt(KhzText(channel.frequency));
    case kMode:
      return ToQt(channel.mode);
    case kVfo:
      return channel.vfo == 0 ? QString() : QString(QChar(channel.vfo));
    default:
      return ToQt(channel.comment);
  }
}

QString MemoryModel::Describe(int number) const {
  const MemoryChannel& channel = station_.memories.channel(number);
  if (channel.empty()) return tr("channel %1, empty").arg(number);
  QStringList parts{tr("channel %1").arg(number)};
  if (!channel.name.empty()) parts << ToQt(channel.name);
  parts << tr("%1 kHz %2").arg(ToQt(KhzText(channel.frequency)), ToQt(channel.mode)).trimmed();
  if (channel.narrow) parts << tr("narrow");
  if (channel.skip) parts << tr("skipped in scans");
  if (IsTuned(channel)) parts << tr("tuned");
  if (number == heard()) parts << tr("heard in the scan");
  return parts.join(", ");
}

/// The first cells of a row are the channel; the others say what they are.
QString MemoryModel::SpokenCell(int number, int column) const {
  const MemoryChannel& channel = station_.memories.channel(number);
  if (column <= kFrequency || channel.empty()) return Describe(number);
  const QString name = headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
  QString value = CellText(channel, number, column);
  if (column == kNarrow) value = channel.narrow ? tr("on") : tr("off");
  if (column == kSkip) value = channel.skip ? tr("on") : tr("off");
  if (value.isEmpty()) value = tr("none");
  return tr("%1 %2, channel %3").arg(name, value).arg(number);
}

bool MemoryModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const int number = NumberAt(index.row());
  if (number == 0) return false;
  MemoryChannel channel = ChannelAt(index.row());
  const std::string text = value.toString().trimmed().toStdString();
  const bool on = role == Qt::CheckStateRole && value.toInt() == Qt::Checked;
  switch (index.column()) {
    case kName:
      channel.name = text;
      break;
    case kFrequency: {
      auto edited = WithFrequency(channel, text);
      if (!edited && on_fault) on_fault(ToQt(edited.error().message));
      if (!edited) return false;
      channel = std::move(*edited);
      break;
    }
    case kMode:
      channel = WithMode(channel, text);
      break;
    case kNarrow:
      channel.narrow = on;
      break;
    case kVfo:
      channel.vfo = text.empty() ? '\0' : text[0];
      break;
    case kSkip:
      channel.skip = on;
      break;
    default:
      channel.comment = text;
  }
  if (channel == station_.memories.channel(number)) return true;
  const Status changed = station_.memories.Change(number, channel);
  if (!changed && on_fault) on_fault(ToQt(changed.error().message));
  return changed.ok();
}

Qt::ItemFlags MemoryModel::flags(const QModelIndex& index) const {
  if (NumberAt(index.row()) == 0) return Qt::NoItemFlags;
  const MemoryChannel& channel = ChannelAt(index.row());
  const Qt::ItemFlags plain = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  if (index.column() == kNumber || (channel.empty() && index.column() != kFrequency)) return plain;
  if (index.column() == kNarrow) return HasNarrow(channel) ? plain | Qt::ItemIsUserCheckable : plain;
  return plain | (index.column() == kSkip ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

QVariant MemoryModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole && (section == kNumber || section == kFrequency))
    return QVariant(Qt::AlignRight | Qt::AlignVCenter);
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  static const std::array kTitles{QT_TR_NOOP("No."),    QT_TR_NOOP("Name"), QT_TR_NOOP("kHz"),  QT_TR_NOOP("Mode"),
                                  QT_TR_NOOP("Narrow"), QT_TR_NOOP("VFO"),  QT_TR_NOOP("Skip"), QT_TR_NOOP("Comment")};
  return tr(kTitles.at(static_cast<std::size_t>(section)));
}

}  // namespace kvx::console
