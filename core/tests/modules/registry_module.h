#pragma once

#include <string>

/// What two modules, loaded into one process like plug-ins, know of each other: a payload type. Each has its
/// own copy of everything that is made from it.
struct Reading {
  std::string sensor;
  int value = 0;
};

/// The modules' functions.
extern "C" {
/// The registering module's: makes Reading known to SwAny, and the conversions int to Reading to SwString.
using RegisterReading = void (*)();

/// The converting module's: gives `value` as the text of a Reading, or as its own text as long as there are
/// no conversions for it.
using ConvertReading = void (*)(int value, std::string& text);

/// Both modules': the address of the conversion rules that it sees.
using RulesSeen = const void* (*)();
}
