#include "audio/letter_model.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>

#include "audio/morse_table.h"
#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr double kWordShare = 0.6;    // of what is sent; the rest follows no list
constexpr double kRareSign = 0.0002;  // a sign that hardly anybody sends
constexpr std::size_t kOrder = 3;
constexpr double kFirstRank = 10;  // words are as frequent as Zipf's law has it, but for the first ones
constexpr double kWordWeight = 300;

enum class Kind { kBlank, kLetter, kDigit, kUsual, kRare };

Kind KindOf(Symbol symbol) {
  if (symbol == kBlank) return Kind::kBlank;
  const char character = CharacterOf(symbol);
  if (character >= 'A' && character <= 'Z') return Kind::kLetter;
  if (IsDigit(character)) return Kind::kDigit;
  return std::string_view("?/=.,").find(character) != std::string_view::npos ? Kind::kUsual : Kind::kRare;
}

// How much of what follows no list a single symbol of a kind is, after a blank, a letter or sign, a digit.
double PlainShare(Kind kind, Kind before) {
  switch (kind) {
    case Kind::kBlank:
      return before == Kind::kBlank ? 0.0 : 0.17;
    case Kind::kLetter:
      return before == Kind::kDigit ? 0.016 : 0.025;
    case Kind::kDigit:
      return before == Kind::kDigit ? 0.036 : before == Kind::kBlank ? 0.018 : 0.014;
    case Kind::kUsual:
      return 0.005;
    case Kind::kRare:
      return kRareSign;
  }
  return 0;
}

std::array<double, kSymbols> PlainRow(Kind before) {
  std::array<double, kSymbols> row{};
  double sum = 0;
  for (std::size_t i = 0; i < kSymbols; ++i) sum += row[i] = PlainShare(KindOf(static_cast<Symbol>(i)), before);
  for (double& share : row) share /= sum;
  return row;
}

std::optional<Symbol> SymbolOf(char character) {
  const auto table = MakeChar();
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].character == character) return static_cast<Symbol>(i + 1);
  }
  return std::nullopt;
}

struct Counts {
  std::array<double, kSymbols> of{};
  double all = 0;
  double kinds = 0;  ///< how many symbols have been seen
};

/// How often symbols follow others, by how many others and which.
using Statistics = std::array<std::map<LetterModel::Context, Counts>, kOrder + 1>;

LetterModel::Context Newest(LetterModel::Context context, std::size_t symbols) {
  return context & ((1U << LetterModel::kSymbolBits * symbols) - 1);
}

void Learn(Statistics& statistics, std::string_view word, double weight) {
  LetterModel::Context context = LetterModel::kStart;
  for (std::size_t i = 0; i <= word.size(); ++i) {
    const Symbol symbol = i < word.size() ? SymbolOf(word[i]).value_or(kBlank) : kBlank;
    for (std::size_t order = 0; order < statistics.size(); ++order) {
      Counts& counts = statistics[order][Newest(context, order)];
      if (counts.of[symbol] == 0) ++counts.kinds;
      counts.of[symbol] += weight;
      counts.all += weight;
    }
    context = LetterModel::After(context, symbol);
  }
}

// What a context leads to: each order of the statistics corrects the one below it, as far as it has seen the context.
std::array<float, kSymbols> RowAfter(const Statistics& statistics, LetterModel::Context context) {
  std::array<double, kSymbols> row = PlainRow(Kind::kLetter);
  for (std::size_t order = 0; order < statistics.size(); ++order) {
    const auto found = statistics[order].find(Newest(context, order));
    if (found == statistics[order].end()) break;
    const Counts& counts = found->second;
    for (std::size_t i = 0; i < kSymbols; ++i) {
      row[i] = (counts.of[i] + counts.kinds * row[i]) / (counts.all + counts.kinds);
    }
  }
  const std::array<double, kSymbols> plain = PlainRow(KindOf(static_cast<Symbol>(Newest(context, 1))));
  std::array<float, kSymbols> logs{};
  for (std::size_t i = 0; i < kSymbols; ++i) {
    logs[i] = static_cast<float>(std::log(kWordShare * row[i] + (1 - kWordShare) * plain[i] + 1e-9));
  }
  return logs;
}

}  // namespace

char CharacterOf(Symbol symbol) {
  static const auto table = MakeChar();
  return symbol == kBlank ? ' ' : table[static_cast<std::size_t>(symbol) - 1].character;
}

LetterModel::LetterModel(std::string_view words) : row_of_(std::size_t{kContextMask} + 1) {
  Statistics statistics;
  double rank = kFirstRank;
  for (const std::string& line : Split(words, '\n')) {
    const std::string word = Upper(Trim(line));
    if (!word.empty()) Learn(statistics, word, kWordWeight / rank++);
  }
  const auto add_row = [&](Context context) {
    rows_.push_back(RowAfter(statistics, context));
    return static_cast<std::uint16_t>(rows_.size() - 1);
  };
  constexpr Context kAll = 1U << kSymbolBits;
  constexpr Context kUnseen = kAll - 1;  // no symbol is that
  for (Context last = 0; last < kSymbols; ++last) {
    const std::uint16_t row = add_row(kUnseen << 2 * kSymbolBits | kUnseen << kSymbolBits | last);
    for (Context rest = 0; rest < kAll * kAll; ++rest) row_of_[rest << kSymbolBits | last] = row;
  }
  for (const auto& [pair, counts] : statistics[2]) {
    const std::uint16_t row = add_row(kUnseen << 2 * kSymbolBits | pair);
    for (Context first = 0; first < kAll; ++first) row_of_[first << 2 * kSymbolBits | pair] = row;
  }
  for (const auto& [context, counts] : statistics[3]) row_of_[context] = add_row(context);
}

float LetterModel::LogProbability(Context context, Symbol symbol) const {
  return rows_[row_of_[context & kContextMask]][symbol];
}

CodeTree::CodeTree() : nodes_(1) {
  std::vector<double> shares(1);
  const auto table = MakeChar();
  const std::array<double, kSymbols> plain = PlainRow(Kind::kBlank);
  for (std::size_t i = 0; i < table.size(); ++i) {
    Node node = kRoot;
    shares[0] += plain[i + 1];
    for (const char sign : table[i].code) {
      Node& next = nodes_[static_cast<std::size_t>(node)].next[sign == '-' ? 1 : 0];
      const bool fresh = next == kNone;
      if (fresh) next = static_cast<Node>(nodes_.size());
      node = next;
      if (fresh) nodes_.emplace_back(), shares.push_back(0);
      shares[static_cast<std::size_t>(node)] += plain[i + 1];
    }
    Symbol& symbol = nodes_[static_cast<std::size_t>(node)].symbol;
    if (symbol == kBlank) symbol = static_cast<Symbol>(i + 1);
  }
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i].log_share = static_cast<float>(std::log(shares[i] / shares[0]));
  }
}

}  // namespace kvx::audio
