#include "verbs/inspect.h"

#include <QFile>
#include <QFileInfo>
#include <iostream>

#include "host/brick_plugins.h"
#include "host/host_settings.h"
#include "inspection/plugin_trial.h"
#include "json/json_line.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "text/shown_text.h"

namespace {

using Texts = std::vector<std::string>;

// The signature registered for a file that the host does not know.
constexpr Tag kNoSignature = 0;

struct PlugInsInUse {
  explicit PlugInsInUse(const HostOptions& host)
      : settings{host.settingsFolder, host.pluginFolder}, inForce(settings) {}
  ~PlugInsInUse() { brick_plugins::UnloadAll(); }

  const HostSettings settings;
  const SettingsInForce inForce;
};

// Registers the file under the signature by which the host knows a file of this name.
Tag Register(const std::string& path) {
  const QFileInfo info(QFile::decodeName(path.c_str()));
  if (!info.isFile()) throw Failure("no file at " + path);
  const std::string absolute = QFile::encodeName(info.absoluteFilePath()).constData();
  Tag signature = kNoSignature;
  for (const auto& [known, fileName] : brick_plugins::KnownFiles()) {
    if (fileName == archive_source::FileName(path)) signature = known;
  }
  brick_plugins::RegisterFile(signature, absolute);
  return signature;
}

std::string Text(const TContentDescriptor& content) {
  return FourCcText(content.format) + "/" + FourCcText(content.kind);
}

Texts AsTexts(const std::vector<TContentDescriptor>& contents) {
  Texts texts;
  for (const TContentDescriptor& content : contents) texts.push_back(Text(content));
  return texts;
}

Texts AsTexts(const std::vector<MadeFor>& pairs) {
  Texts texts;
  for (const MadeFor& pair : pairs) texts.push_back(Text(pair.input) + " to " + Text(pair.output));
  return texts;
}

// Tags may end with blanks.
std::string WithoutBlanks(const std::string& text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string List(const Texts& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + WithoutBlanks(text);
  return list.empty() ? "-" : Escaped(list);
}

void PrintAsText(const PlugInFacts& facts) {
  std::cout << Escaped(facts.file) << '\n';
  PrintLabelled({{"signature", facts.signature.empty() ? "-" : facts.signature},
                 {"entry points", List(facts.entryPoints)},
                 {"makes", List(AsTexts(facts.madeFor))},
                 {"known inputs", List(AsTexts(facts.knownInputs))},
                 {"known outputs", List(AsTexts(facts.knownOutputs))},
                 {"asks for", List(facts.asksFor)},
                 {"needs", List(facts.libraries)}});
  std::vector<Texts> rows{{"on", "sends up", "sends down"}};
  for (const BlockReaction& reaction : facts.reactions) {
    rows.push_back({reaction.block.empty() ? "creation" : reaction.block, List(reaction.up),
                    List(reaction.down)});
  }
  PrintTable(rows);
}

Json AsJson(const PlugInFacts& facts) {
  Json json;
  json["path"] = facts.file;
  json["signature"] = facts.signature;
  json["entryPoints"] = facts.entryPoints;
  json["makes"] = Json::array();
  for (const MadeFor& pair : facts.madeFor) {
    json["makes"].push_back({{"input", Text(pair.input)}, {"output", Text(pair.output)}});
  }
  json["knownInputs"] = AsTexts(facts.knownInputs);
  json["knownOutputs"] = AsTexts(facts.knownOutputs);
  json["asksFor"] = facts.asksFor;
  json["needs"] = facts.libraries;
  json["reactions"] = Json::array();
  for (const BlockReaction& reaction : facts.reactions) {
    json["reactions"].push_back(
        {{"block", reaction.block}, {"up", reaction.up}, {"down", reaction.down}});
  }
  return json;
}

}  // namespace

int RunInspect(const HostOptions& host, const InspectOptions& options) {
  const PlugInsInUse plugIns(host);
  std::vector<Tag> signatures;
  if (!options.file.empty()) {
    signatures.push_back(Register(options.file));
  } else {
    for (const auto& known : brick_plugins::KnownFiles()) signatures.push_back(known.first);
  }
  Json json;
  for (const Tag signature : signatures) {
    const PlugInFacts facts = TryPlugIn(signature);
    if (options.format == OutputFormat::kJson) {
      json["plugins"].push_back(AsJson(facts));
    } else {
      if (signature != signatures.front()) std::cout << '\n';
      PrintAsText(facts);
    }
  }
  if (options.format == OutputFormat::kJson) PrintPlainJsonLine(json);
  return kExitDone;
}
