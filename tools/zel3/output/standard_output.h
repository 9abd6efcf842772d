#pragma once

// Throws Failure unless everything printed so far could be written.
void CheckStandardOutput();
