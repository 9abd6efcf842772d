#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "command_line/completion.h"
#include "sources/host_options.h"
#include "verbs/activity.h"
#include "verbs/caches.h"
#include "verbs/calendar.h"
#include "verbs/console.h"
#include "verbs/cut.h"
#include "verbs/doctor.h"
#include "verbs/dump.h"
#include "verbs/events.h"
#include "verbs/gaps.h"
#include "verbs/index.h"
#include "verbs/info.h"
#include "verbs/inspect.h"
#include "verbs/make.h"
#include "verbs/mend.h"
#include "verbs/preview.h"
#include "verbs/read.h"
#include "verbs/report.h"
#include "verbs/seek.h"

// What a command line asks for. Filled while it is parsed; only the options of the verb asked for
// count.
struct Options {
  HostOptions host;
  MakeOptions make;
  InfoOptions info;
  IndexOptions index;
  CachesOptions caches;
  SeekOptions seek;
  ReadOptions read;
  EventsOptions events;
  ActivityOptions activity;
  GapsOptions gaps;
  CalendarOptions calendar;
  PreviewOptions preview;
  CutOptions cut;
  MendOptions mend;
  DumpOptions dump;
  DoctorOptions doctor;
  ReportOptions report;
  ConsoleOptions console;
  InspectOptions inspect;
  completion::Script completionScript = nullptr;
};

// Runs a verb; returns the exit code.
using Run = std::function<int()>;

// Adds a verb without options. When it is the one asked for, `run` becomes `runVerb`. `run` must
// live until the command line has been parsed.
CLI::App* AddVerb(CLI::App* app, const std::string& name, const std::string& help, Run* run,
                  const Run& runVerb);

// Each adds a group of verbs with their options. Verbs are shown in the order in which they are
// added. `options` must live until the verb has run.

// Archives and their indexes: make, info, index, caches.
void AddArchiveVerbs(CLI::App* app, Options* options, Run* run);
// What was recorded at which time: seek, read, events, activity, gaps, calendar, preview.
void AddTimeVerbs(CLI::App* app, Options* options, Run* run);
// Archives made from others: cut, mend.
void AddCuttingVerbs(CLI::App* app, Options* options, Run* run);
// The whole of a source: dump, doctor, report.
void AddExaminingVerbs(CLI::App* app, Options* options, Run* run);
// Plug-ins: console, inspect.
void AddPlugInVerbs(CLI::App* app, Options* options, Run* run);
