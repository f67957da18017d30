#include "platform/posix/key_output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <cerrno>
#include <utility>

namespace kvx::platform {
namespace {

/// Without flow control, which would move RTS by itself, and so that the system lowers the lines when the program is
/// killed, unless low is keyed.
void ConfigureTerminal(int descriptor, bool lower_at_end) {
  termios settings{};
  if (::tcgetattr(descriptor, &settings) != 0) return;
  ::cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL;
  settings.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS | HUPCL);
  if (lower_at_end) settings.c_cflag |= HUPCL;
  ::tcsetattr(descriptor, TCSANOW, &settings);
}

Status CheckLines(int descriptor, const std::string& name) {
  int state = 0;
  if (::ioctl(descriptor, TIOCMGET, &state) == 0) return Ok();
  return Error{ErrorCode::kInvalid, name + ": has no DTR and RTS lines that could be keyed"};
}

}  // namespace

SerialKeyOutput::SerialKeyOutput(std::string path, KeyLines lines) : path_(std::move(path)), lines_(lines) {}

SerialKeyOutput::SerialKeyOutput(std::function<int()> lend, KeyLines lines) : lend_(std::move(lend)), lines_(lines) {}

Status SerialKeyOutput::Open() {
  Close();
  Status opened = lend_ ? Borrow() : OpenOwn();
  if (!opened) {
    Close();
    return opened;
  }
  const int keyed = KeyLine() | (lines_.use_ptt ? PttLine() : 0);
  release_.Arm(descriptor_, ReleaseAction::Lines(lines_.inverted ? 0 : keyed, lines_.inverted ? keyed : 0));
  return Ok();
}

Status SerialKeyOutput::OpenOwn() {
  auto claim = DeviceClaim::Take(path_, user_);
  if (!claim) return claim.error();
  claim_ = std::move(*claim);
  // The system raises both lines at every opening: they go back at once.
  claim_->SetLines(lines_.inverted, lines_.inverted);
  descriptor_ = claim_->descriptor();
  if (!claim_->device().starts_with("/dev/pts/")) ::ioctl(descriptor_, TIOCEXCL);
  ConfigureTerminal(descriptor_, !lines_.inverted);
  return CheckLines(descriptor_, path_);
}

Status SerialKeyOutput::Borrow() {
  lent_ = lend_();
  if (lent_ < 0) return Error{ErrorCode::kClosed, "the rig port, whose lines are keyed, is not an open serial device"};
  borrowed_ = Descriptor(::fcntl(lent_, F_DUPFD_CLOEXEC, 0));
  descriptor_ = borrowed_.get();
  key_ = true;  // whatever they are, they are to be released
  ptt_ = lines_.use_ptt;
  Status found = CheckLines(descriptor_, "the rig port");
  if (found) Set(false, false);
  return found;
}

void SerialKeyOutput::Close() {
  release_.Disarm();
  claim_.reset();
  borrowed_.Reset();
  descriptor_ = lent_ = -1;
  key_ = ptt_ = false;
}

int SerialKeyOutput::Set(bool key, bool ptt) {
  ptt = ptt && lines_.use_ptt;
  int cause = 0;
  if (ptt) cause = Change(ptt_, true, PttLine());
  if (cause == 0) cause = Change(key_, key, KeyLine());
  if (!ptt) {
    const int at_ptt = Change(ptt_, false, PttLine());
    if (cause == 0) cause = at_ptt;
  }
  return cause;
}

/// After a failure the line counts as keyed, so that the next release is tried.
int SerialKeyOutput::Change(bool& state, bool on, int line) const {
  if (state == on) return 0;
  const int cause = SetLine(line, on);
  state = on || cause != 0;
  return cause;
}

int SerialKeyOutput::KeyLine() const {
  return lines_.key_on_rts ? TIOCM_RTS : TIOCM_DTR;
}

int SerialKeyOutput::PttLine() const {
  return lines_.key_on_rts ? TIOCM_DTR : TIOCM_RTS;
}

int SerialKeyOutput::SetLine(int line, bool on) const {
  while (::ioctl(descriptor_, on != lines_.inverted ? TIOCMBIS : TIOCMBIC, &line) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

std::string SerialKeyOutput::fault() const {
  if (lend_ && lend_() != lent_) return "the rig port, whose lines are keyed, has been closed";
  pollfd state{descriptor_, POLLIN, 0};
  const bool gone = ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
  if (!gone) return {};
  return (lend_ ? std::string("the rig port") : path_) + ": the device has gone (unplugged or switched off)";
}

ParallelKeyOutput::ParallelKeyOutput(SharedParallelPorts& ports, std::string path, KeyLines lines)
    : ports_(ports), path_(std::move(path)), lines_(lines) {}

Status ParallelKeyOutput::Open() {
  Close();
  auto taken = ports_.Take(path_);
  if (!taken) return taken.error();
  port_ = *taken;
  const std::uint8_t mask = PosixParallelPort::kPin17 | PosixParallelPort::kPin16;
  release_.Arm(port_->descriptor(),
               ReleaseAction::Port(mask, PosixParallelPort::RegisterOf(PinsFor(false, false)) & mask));
  if (Set(false, false) == 0) return Ok();
  Close();
  return Error{ErrorCode::kIo, "the pins of the parallel port cannot be set"};
}

void ParallelKeyOutput::Close() {
  release_.Disarm();
  port_.reset();
}

/// Both pins are in one register: they change at the same moment.
int ParallelKeyOutput::Set(bool key, bool ptt) {
  return port_->SetControl(PosixParallelPort::kPin17 | PosixParallelPort::kPin16, PinsFor(key, ptt));
}

std::uint8_t ParallelKeyOutput::PinsFor(bool key, bool ptt) const {
  const bool key_level = key != lines_.inverted;
  const bool ptt_level = (ptt && lines_.use_ptt) != lines_.inverted;
  return static_cast<std::uint8_t>((key_level ? PosixParallelPort::kPin17 : 0) |
                                   (ptt_level ? PosixParallelPort::kPin16 : 0));
}

}  // namespace kvx::platform
