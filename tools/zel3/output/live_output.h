#pragma once

// The standard output of verbs that print as things happen.

// Passes on what has been printed. Throws Failure when that cannot be written, or the user
// interrupts.
void FlushLiveOutput();

// Ends the verb because nobody reads its output any more, as writing to it would: quietly, unless
// the process is told to live on.
[[noreturn]] void EndWithoutReader();
