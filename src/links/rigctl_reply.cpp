#include "links/rigctl_reply.h"

namespace kvx::links {

void RigctlReply::Begin(std::string_view command, std::string_view arguments) {
  if (!extended()) return;
  out_ += command;
  out_ += ':';
  if (!arguments.empty()) (out_ += ' ') += arguments;
  out_ += separator_;
  begin_ = out_.size();
}

void RigctlReply::Value(std::string_view name, std::string_view value) {
  if (extended() && !name.empty()) (out_ += name) += ": ";
  out_ += value;
  out_ += extended() ? separator_ : '\n';
}

void RigctlReply::End(Rprt code, bool tells) {
  if (code != Rprt::kOk) out_.resize(begin_);
  if (code == Rprt::kOk && tells && !extended()) return;
  (out_ += "RPRT ") += std::to_string(static_cast<int>(code));
  out_ += '\n';
}

}  // namespace kvx::links
