#include "cat/reply_parser.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kReplyTime = 600ms;
constexpr Duration kSilence = 100ms;

}  // namespace

void ReplyParser::ForgetOverdue() {
  while (!armed_.empty() && loop_.Now() - armed_.front().sent > kReplyTime) armed_.pop_front();
  const bool nameless = rig_.family == "YAESU" && rig_.row.send_as_hex;
  if (nameless && armed_.empty() && loop_.Now() - link_.last_arrival() > kSilence) link_.ClearRcvBuffer();
}

void ReplyParser::Parse() {
  link_.GetData();
  if (link_.discarding()) return;
  ForgetOverdue();
  replies_.clear();
  if (const FamilyParser parse = ParserOf(rig_.family)) {
    ParseContext context{.rig = rig_, .armed = armed_, .address_number = *console_.RigNumber, .meter_number = *console_.MeterNumber};
    parse(link_.buffer(), context, replies_);
  }
  // A reply may lead to a new rig selection and so to another Parse: work on what is ours.
  const std::vector<Reply> replies = std::move(replies_);
  replies_read_ += replies.size();
  for (const Reply& reply : replies) {
    if (reply.kind == Reply::Kind::kRefused) ++refusals_;
    if (on_reply) on_reply(reply);
  }
  if (on_input) on_input(!replies.empty());
}

}  // namespace kvx::cat
