#pragma once

#include "verbs/events.h"

// Runs events --follow: prints the events from a time on, or only new ones, and then each as it is
// written, until the user interrupts. Throws Failure; a usage error when options do not go
// together.
int FollowEvents(const EventsOptions& options);
