#pragma once

// The standard output of verbs that print as things happen.

// Flushes what has been printed. Throws Failure when it cannot be written, or when the user
// interrupts.
void FlushLiveOutput();

// Ends the verb because nobody reads its output any more, in the way that writing to it would:
// quietly, unless SIGPIPE is ignored.
[[noreturn]] void EndWithoutReader();
