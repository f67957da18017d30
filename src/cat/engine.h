#pragma once

#include "cat/dispatcher.h"
#include "cat/operations.h"
#include "cat/poller.h"
#include "cat/reply_parser.h"
#include "cat/rig_link.h"

namespace kvx::cat {

/// The CAT engine of one rig: its definition and everything between an operation and the wire, put together.
class Engine {
 public:
  Engine(Loop& loop, Console& console, platform::SerialPort& port);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  /// Replaces the working state by a loaded rig definition. False, with nothing touched, when it is the one in use.
  bool UseRig(config::RigDefinition rig);
  const config::RigDefinition& rig() const { return rig_; }

 private:
  config::RigDefinition rig_;
  ArmedQueries armed_;
  Console& console_;
  Console::Subscription clock_;

 public:
  Transmission transmission;
  RigLink link;
  Dispatcher dispatcher;
  ReplyParser parser;
  Operations operations;
  Poller poller;
};

}  // namespace kvx::cat
