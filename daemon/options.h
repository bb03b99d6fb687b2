// The command line, and the option file, which is a second command line.
#pragma once

namespace hark {

// The build's date and time, as the version line shows it.
extern const char* const build_stamp;

// Takes the options of `argv` from the second word on. A word that is none, and an option without its value,
// print the version and the usage and end the process with status 1.
void process_commands(int argc, const char* const* argv);

// Takes the option file, when there is one: each line is an option without its "-" and its value. Parsed
// behind the command line, and so stronger than it.
void loadconfig();

}  // namespace hark
