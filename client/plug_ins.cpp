#include "client/plug_ins.h"

#include "blocks/tags.h"
#include "host/brick_plugins.h"

PlugIns::PlugIns(const HostOptions& host) {
  brick_plugins::ResetRegistrations();
  if (!host.offerParser) brick_plugins::RegisterFactory(tag::kSignatureParser, {});
}

PlugIns::~PlugIns() {
  brick_plugins::UnloadAll();
}
