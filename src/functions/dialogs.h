#pragma once

#include <functional>
#include <string>

namespace kvx::functions {

/// A question that is answered yes or no.
struct Question {
  std::string text;
  std::string title;
  std::string help_file;
};

/// What the operator is asked and told. A window sets both and answers when the operator has; without a window the
/// command that was given is the answer, and a text goes nowhere.
struct Dialogs {
  std::function<void(const Question& question, std::function<void(bool yes)> answer)> ask;
  std::function<void(const std::string& text)> show;

  void Ask(const Question& question, std::function<void(bool yes)> answer) const {
    if (ask) return ask(question, std::move(answer));
    answer(true);
  }
  void Show(const std::string& text) const {
    if (show) show(text);
  }
};

}  // namespace kvx::functions
