#include "samples/scenario.h"

Scenario DefaultScenario() {
  Scenario scenario;
  scenario.streams = {
      {1, true, "video", "Gate north", "h264", 90, 4000},
      {2, true, "sound", "Gate microphone", "pcm", 9, 400},
      {3, true, "text", "Number plates", "utf-8", 1, 100},
      {4, false, "image", "Snapshots", "jpeg", 10, 4000},
  };
  scenario.gaps = {{2, 1800}, {5, 5400}};
  scenario.headerChanges = {{3, 4950, 4, true}};
  return scenario;
}
