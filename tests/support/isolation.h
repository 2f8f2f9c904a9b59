// Gives a child process its own view of /tmp and /var/spool.
// Why: the filter writes to fixed places; a test page must never land in the system's spool.
#pragma once

#include <string>

namespace kestra::testing_support {

enum class Isolation {
  kNamespace,  ///< the shipped program; its fixed directories are private mounts
  kRelative,   ///< the program with relative paths, started inside the private tree
};

/// The way this process uses: KESTRA_TEST_ISOLATION decides, else what the machine allows. A forced
/// way that is impossible, or an unknown word, ends the process with a message.
Isolation currentIsolation();

/// Enters new namespaces (CLONE_NEW...). An ordinary user becomes the same user again, with the
/// right to mount until the next exec. Returns an empty text, or what went wrong.
std::string unshareAsOwnUser(int flags);

/// To be called in a forked child only: from here on /var/spool and /tmp show root/var/spool and
/// root/tmp, and "/" is the current directory. Returns an empty text, or what went wrong.
/// tinyDisk: the data directory of the tree becomes a disk of 4096 bytes (it must exist).
std::string enterPrivateTree(const std::string& root, bool tinyDisk);

}  // namespace kestra::testing_support
