#pragma once

// Throws Failure when not all that has been printed so far could be written.
void CheckStandardOutput();
