// Standard input, output and error of a process that may have been started without them.
#pragma once

namespace nuvhost {

// Opens a substitute for each one that is closed. Otherwise a file that is opened later would get its number, and
// with it the output that is meant for the terminal. Reading or writing a substitute fails. Call it before anything
// else.
void HoldStandardDescriptors();

// Whether a standard descriptor can be read, or written.
bool Readable(int descriptor);
bool Writable(int descriptor);

}  // namespace nuvhost
