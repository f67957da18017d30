#include "cat/reply_parser.h"

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kReplyTime = 600ms;

}  // namespace

void ReplyParser::ForgetOverdue() {
  const auto overdue = [this](const ArmedQuery& query) {
    const int characters = query.extraction ? query.extraction->reply_length : 0;
    const Duration on_the_line = link_.TimeOf(static_cast<std::size_t>(rig_.binary() ? characters / 2 : 0));
    return loop_.Now() - query.sent >= (query.acknowledgement ? kAcknowledgeTime : kReplyTime + on_the_line);
  };
  while (!armed_.empty() && overdue(armed_.front())) armed_.pop_front();
  // A reply without a name that stopped in the middle has lost bytes: nothing that is still due could be told apart
  // from it.
  if (rig_.nameless() && !link_.buffer().empty() && !reply_under_way()) Forget();
}

bool ReplyParser::reply_under_way() const {
  return !link_.buffer().empty() && loop_.Now() < link_.last_arrival() + kReplySilence;
}

void ReplyParser::Forget() {
  armed_.clear();
  link_.ClearRcvBuffer();
}

void ReplyParser::Parse() {
  link_.GetData();
  if (link_.discarding()) return;
  ForgetOverdue();
  replies_.clear();
  if (const FamilyParser parse = ParserOf(rig_.family)) {
    ParseContext context{
        .rig = rig_, .armed = armed_, .address_number = *console_.RigNumber, .active_vfo = *console_.ActiveVfo};
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
