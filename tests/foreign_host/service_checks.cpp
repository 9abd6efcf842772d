#include "service_checks.h"

#include <glob.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <memory>

#include "archive.h"
#include "client.h"
#include "counters.h"
#include "scheduler.h"

namespace {

constexpr std::uint32_t kAtOrBefore = 1;

// Two archives, hours apart.
const Archive& First() {
  static const Archive archive(1000, 5);
  return archive;
}
const Archive& Second() {
  static const Archive archive(20000, 4);
  return archive;
}

std::string MakeFolder(const std::string& path) {
  mkdir(path.c_str(), 0777);
  return path;
}

unsigned Matches(const std::string& pattern) {
  glob_t found = {};
  glob(pattern.c_str(), 0, nullptr, &found);
  const unsigned count = static_cast<unsigned>(found.gl_pathc);
  globfree(&found);
  return count;
}

// A folder with both.
std::string MakeSource(const std::string& folder) {
  MakeFolder(folder);
  First().Write(folder + "/first.zel3");
  Second().Write(folder + "/second.zel3");
  return folder;
}

std::string Kinds(const std::vector<cMemBlock>& blocks) {
  std::string kinds;
  for (const cMemBlock& block : blocks) {
    const unsigned kind = KindOf(block);
    kinds += std::string(reinterpret_cast<const char*>(&kind), 4) + ' ';
  }
  return kinds;
}

std::string RawBytes(const cMemBlock& block) {
  return std::string(reinterpret_cast<const char*>(PayloadOf<DataNode>(block)), block.Node()->size);
}

cMemBlock AskTime(std::uint64_t time) {
  return MakeCommand("CRq3", ChunkRequest{time, kAtOrBefore});
}

// "file:entry@time", or "nowhere@time".
std::string Place(const ChunkInfo& info) {
  const std::string time = '@' + std::to_string(info.time);
  if (info.indexId == kNowhere) return "nowhere" + time;
  return std::to_string(info.indexId >> 32) + ':' + std::to_string(info.indexId & 0xFFFFFFFF) +
         time;
}
std::string Answer(const std::vector<cMemBlock>& came) {
  const bool isAnswer = came.size() == 1 && KindOf(came[0]) == Code("IRN3");
  return isAnswer ? Place(CommandIn<ChunkAnswer>(came[0]).info) : Kinds(came);
}

// The bytes of an entry, asked for as the answer to a time names it.
std::string BytesAt(Client& client, std::uint64_t time) {
  const std::vector<cMemBlock> found = client.Ask(AskTime(time));
  if (found.size() != 1) return Kinds(found);
  const std::vector<cMemBlock>& came =
      client.Ask(MakeCommand("PCR3", CommandIn<ChunkAnswer>(found[0]).info));
  return came.size() == 1 ? RawBytes(came[0]) : Kinds(came);
}

// A reader and its client, gone at the end of a scope.
struct Chain {
  Chain(const Plugin& plugin, const std::string& source, const std::string& cache)
      : reader(plugin.MakeReader(source, cache)), client(reader.get()) {
    Scheduler::Run();
  }
  ~Chain() {
    reader.reset();
    Scheduler::Run();
  }
  std::unique_ptr<CBrick> reader;
  Client client;
};

void CheckArchiveList(Client& client, const std::string& folder, Checks& checks) {
  const std::vector<cMemBlock>& came = client.Ask(MakeCommand("ArcR", '\0'));
  checks.Same("the list of archives comes alone", Kinds(came), "ArcA ");
  if (came.empty()) return;
  const ArchiveList& list = CommandIn<ArchiveList>(came[0]);
  checks.Same("archives in the list", list.count, 2u);
  checks.Same("its size", came[0].Node()->size, sizeof(ArchiveList) + 2 * sizeof(ListedArchive));
  checks.Same("its folder", list.source, folder);
  const ListedArchive* const archives = reinterpret_cast<const ListedArchive*>(&list + 1);
  checks.Same("when the first begins", archives[0].startTime, First().Time(0));
  checks.Same("when the second ends", archives[1].endTime, Second().Time(3));
  checks.Same("streams of the first", unsigned{archives[0].streamMap[0]}, 1u << kVideoStream);
}

void CheckActivity(Client& client, Checks& checks) {
  const ActivityRequest wanted = {First().Time(0), First().Time(4), 4, kVideoStream};
  const cMemBlock command = MakeCommand("His3", wanted);
  const std::vector<cMemBlock>& came = client.Ask(command);
  checks.Same("activity comes alone", Kinds(came), "Gist ");
  if (came.empty()) return;
  const Activity& activity = CommandIn<Activity>(came[0]);
  checks.Same("its size", came[0].Node()->size, sizeof(Activity) + 4);
  checks.Same("its end", activity.to, wanted.to);
  const auto* const levels = reinterpret_cast<const unsigned char*>(&activity + 1);
  std::string shown;
  for (int bin = 0; bin < 4; ++bin) shown += std::to_string(levels[bin]) + ' ';
  // Twice those of the entries, which reach into the next bin.
  checks.Same("levels", shown, "0 0 2 4 ");
  checks.Same("the reader has signed the request",
              reinterpret_cast<CommandNode*>(command.Node())->routeCount, 1u);
  checks.Same("the same request once more is not answered", Kinds(client.Ask(command)), "");
}

void CheckPlaying(Client& client, Checks& checks) {
  const cMemBlock play = MakeCommand("Pla3", Play{5, 6, 7, 1});
  QList<Event> events;
  {
    const std::vector<cMemBlock>& came = client.Ask(play);
    checks.Same("playing begins with the events", Kinds(came), "Evt  rset ");
    if (came.size() != 2) return;
    events = CommandIn<EventList>(came[0]).events;
    const Play& echoed = CommandIn<PlayAnswer>(came[1]).play;
    checks.Same("the echo of the command", echoed.indexId * 100 + echoed.time * 10 + echoed.mode,
                567u);
  }
  checks.Same("playing again tells no events", Kinds(client.Ask(play)), "rset ");
  checks.Same("events", events.size(), 5);
  if (events.isEmpty()) return;
  checks.Same("the last event's text", std::string(events.last().text), "event 4");
  checks.Same("the last event's time", std::uint64_t{events.last().time}, First().Time(4));
}

}  // namespace

void CheckFolder(const Plugin& plugin, const std::string& folder, Checks& checks) {
  const std::string cache = MakeFolder(folder + "_cache");
  Chain chain(plugin, MakeSource(folder), cache);
  Client& client = chain.client;
  CheckArchiveList(client, folder, checks);

  const std::vector<cMemBlock> run = client.Ask(AskTime(First().Time(2)));
  std::string levels;
  for (const cMemBlock& block : run) {
    if (KindOf(block) == Code("NMsg")) levels += CommandIn<Message>(block).text + ' ';
  }
  checks.Same("an index is made first", levels.substr(0, 3), "0% ");
  checks.Same("its end, the events, and an answer to nothing asked meanwhile",
              Kinds(run).substr(Kinds(run).size() < 15 ? 0 : Kinds(run).size() - 15),
              "NMsg Evt  IRN3 ");
  checks.Same("only client and reader are left", Scheduler::BricksAlive(), 2u);
  for (const char* suffix : {"id3", "hdr", "evt"}) {
    checks.Same(std::string("caches that are kept: ") + suffix,
                Matches(cache + "/* first." + suffix), 1u);
  }

  checks.Same("the entry of a time", Answer(client.Ask(AskTime(First().Time(2) + 500))),
              "0:2@1002000");
  checks.Holds("its bytes, after the header",
               BytesAt(client, First().Time(2)) == First().Answer(2, true));
  checks.Holds("the next one's bytes",
               BytesAt(client, First().Time(3)) == First().Answer(3, false));
  checks.Same("a preview",
              Answer(client.Ask(MakeCommand("Prev", PreviewRequest{First().Time(1), 0}))),
              "0:1@1001000");
  checks.Same("nothing stands before the start", Answer(client.Ask(AskTime(500))), "nowhere@3500");
  CheckActivity(client, checks);
  CheckPlaying(client, checks);
}

void CheckSingleFile(const Plugin& plugin, const std::string& folder, Checks& checks) {
  MakeFolder(folder);
  checks.Same("another kind of source is refused", plugin.MakeReader(folder, folder, "File"),
              static_cast<CBrick*>(nullptr));
  Second().Write(folder + "/one.zel3");
  Chain chain(plugin, folder + "/one.zel3", MakeFolder(folder + "_cache"));
  checks.Holds("the bytes of a single file",
               BytesAt(chain.client, Second().Time(1)) == Second().Answer(1, true));
  checks.Same("its list", Kinds(chain.client.Ask(MakeCommand("ArcR", '\0'))), "ArcA ");
}

void CheckWithoutCaches(const Plugin& plugin, const std::string& folder, Checks& checks) {
  const std::string temporary = getenv("TMPDIR");
  setenv("TMPDIR", "/nowhere", 1);
  Second().Write(MakeFolder(folder) + "/one.zel3");
  Chain chain(plugin, folder + "/one.zel3", "/nowhere/at/all");
  setenv("TMPDIR", temporary.c_str(), 1);
  checks.Same("a file whose index cannot be kept is not in the list",
              Kinds(chain.client.Ask(MakeCommand("ArcR", '\0'))), "NMsg ");
}

void CheckDeletionInDelivery(const Plugin& plugin, const std::string& folder, Checks& checks) {
  const std::string cache = MakeFolder(folder + "_cache");
  MakeSource(folder);
  { Chain(plugin, folder, cache).client.Ask(AskTime(First().Time(2))); }
  const std::uint64_t time = First().Time(2);
  const struct {
    const char* answer;
    cMemBlock command;
  } cases[] = {{"IRN3", AskTime(time)},
               {"RDat", MakeCommand("PCR3", ChunkInfo{2, time, 0, 0})},
               {"Gist", MakeCommand("His3", ActivityRequest{time, time + 1000, 4, kVideoStream})},
               {"IRN3", MakeCommand("Prev", PreviewRequest{time, time})},
               {"ArcA", MakeCommand("ArcR", '\0')},
               {"rset", MakeCommand("Pla3", Play{0, 0, 0, 1})}};
  for (const auto& each : cases) {
    Chain chain(plugin, folder, cache);
    chain.client.Ask(AskTime(time));
    KeepWhenDeleted(chain.reader.get());
    chain.client.onBlock = [&](const cMemBlock& block) {
      if (std::string(each.answer) + ' ' == Kinds({block})) chain.reader.reset();
    };
    chain.client.Ask(each.command);
    checks.Holds(
        std::string("a reader that is deleted while it answers is left alone: ") + each.answer,
        IsKeptUntouched());
  }
  {
    Chain chain(plugin, folder, MakeFolder(folder + "_no_cache"));
    KeepWhenDeleted(chain.reader.get());
    chain.client.onBlock = [&](const cMemBlock& block) {
      if (KindOf(block) == Code("IRN3")) chain.reader.reset();
    };
    chain.client.Ask(AskTime(time));
    checks.Holds("so is one that answers at the end of a run", IsKeptUntouched());
  }
  Chain chain(plugin, folder, cache);
  chain.client.onBlock = [&](const cMemBlock&) {
    if (chain.reader != nullptr) chain.reader.release()->enqueueControl(MakeCommand("Kill", '\0'));
  };
  chain.client.Ask(AskTime(time));
  checks.Same("a reader that is killed while it answers is gone", Scheduler::BricksAlive(), 1u);
}

void CheckUnloading(const char* file, const std::string& folder, Checks& checks) {
  const std::string cache = MakeFolder(folder + "_cache");
  MakeSource(folder);
  const long before = LiveNodes();
  int served = 0;
  int stayed = 0;
  QList<Event> events;
  for (int time = 0; time < 100; ++time) {
    {
      const Plugin plugin(file);
      Chain chain(plugin, folder, cache);
      if (time == 0) chain.client.Ask(AskTime(First().Time(1)));
      if (BytesAt(chain.client, First().Time(1)) == First().Answer(1, true)) ++served;
      const std::vector<cMemBlock>& came = chain.client.Ask(MakeCommand("Pla3", Play()));
      if (!came.empty() && KindOf(came[0]) == Code("Evt ")) {
        events = CommandIn<EventList>(came[0]).events;
      }
    }
    if (Plugin::IsLoaded(file)) ++stayed;
  }
  checks.Same("times of a hundred that it is loaded and serves", served, 100);
  checks.Same("times that it stays loaded", stayed, 0);
  checks.Same("nodes that are left", LiveNodes(), before);
  checks.Same("references to the default node that are left", cMemBlock::mDefNode.refCount, 1u);
  checks.Same("events that outlive the plug-in", events.size(), 5);
  if (!events.isEmpty()) checks.Same("one of them", std::string(events[0].text), "event 0");
}
