// Standard input, output and error, which a program cannot be sure to have been started with.
#pragma once

namespace hark::control {

// Opens those of the three that are closed on /dev/null: otherwise the next file or socket that is opened
// gets the number of one of them, and what is printed goes there. The first thing that a program does.
void open_standard_streams();

}  // namespace hark::control
