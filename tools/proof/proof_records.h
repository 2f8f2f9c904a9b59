// Decodes what a print has left: page frames, page counters, print-setting commands.
//
// They are the end of a real job; nothing is rendered or filtered again.
#pragma once

#include <string>

#include "tools/proof/arguments.h"
#include "tools/proof/files.h"
#include "tools/proof/teller.h"

namespace kestra::proof {

/// Tells what a frame holds and draws it.
void proofFrame(const std::string& path, const Arguments& arguments, WriteGuard& guard,
                Teller& teller);

void proofCounter(const std::string& path, Teller& teller);

/// "-" is standard input.
void proofCommands(const std::string& path, Teller& teller);

}  // namespace kestra::proof
