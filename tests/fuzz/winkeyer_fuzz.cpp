#include "core/console.h"
#include "fakes/fake_serial_port.h"
#include "fakes/virtual_loop.h"
#include "input.h"
#include "keyer/winkeyer.h"

using namespace std::chrono_literals;

/// A keyer that answers anything, and a logging program beside it that sends anything through.
KVX_FUZZ(input) {
  kvx::VirtualLoop loop;
  kvx::Console console;
  kvx::FakeSerialPort port;
  kvx::FakeSerialPort logger;
  logger.Open({.number = 8}).ok();
  kvx::keyer::WinKeyer keyer(loop, console, port);
  keyer.SetLogger(&logger);
  keyer.SetPassThrough(true);
  port.on_data = [&] { keyer.KeyBack(); };
  logger.on_data = [&] { keyer.GetWInkey(); };
  keyer.OpenPort(5);
  while (!input.empty()) {
    const std::uint8_t what = input.Byte();
    loop.RunFor(std::chrono::milliseconds(what & 0x3F));
    if ((what & 0xC0) == 0xC0 && keyer.ready() && keyer.room() > 0) keyer.Send("E");
    (what & 0x40 ? logger : port).Arrive(input.Piece());
  }
  keyer.Abort();
  keyer.Close();
  loop.RunFor(40s);
}
