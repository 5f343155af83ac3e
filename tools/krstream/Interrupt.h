#pragma once

#include <exception>

/// The user or the system asked the program to stop. Commands let it pass, so that whatever they
/// have half done is undone on the way out.
class Interrupted : public std::exception {};

/// From now on SIGINT, SIGTERM and SIGHUP are remembered instead of ending the program; the second
/// of a kind ends it.
void RememberInterrupts();

/// Throws Interrupted when one of them has come.
void StopIfInterrupted();

/// Ends the program by the signal that was remembered.
[[noreturn]] void EndByInterrupt();
