// Standard input, output and error of a process that may have been started without them.
#pragma once

namespace nuvhost {

// Takes the place of each that is closed, so that no file which is opened later gets its number and, with it, what
// was meant for the terminal. Reading or writing the substitute fails. Called before anything else.
void HoldStandardDescriptors();

// Whether a standard descriptor can be read, or written.
bool Readable(int descriptor);
bool Writable(int descriptor);

}  // namespace nuvhost
