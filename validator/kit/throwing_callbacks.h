// The host's callbacks throw, one after the other. The exception may reach the effect, but must not come back to
// the host.
#pragma once

#include <span>

#include "validator/check.h"

namespace validator::throwing {

using Thrower = void (*)();
using Throwers = std::span<const Thrower>;

// Each function sends the commands of one kind again and again. Each time another callback throws, once for each
// thrower. It reports the exceptions that leave the effect, and ends the check if the effect makes no callback
// there.
void InSetUp(Context& context, Throwers throwers);
void InAbout(Context& context, Throwers throwers);
void InSequences(Context& context, Throwers throwers);
void InPreRender(Context& context, Throwers throwers);
void InSmartRender(Context& context, Throwers throwers);
void InPlainRender(Context& context, Throwers throwers);

}  // namespace validator::throwing
