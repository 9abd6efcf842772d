#include "host/pipeline_state.h"

namespace {

std::uint32_t NewPipelineId() {
  static std::uint32_t last = 0;
  return ++last;
}

}  // namespace

std::map<std::uint32_t, Pipeline::State*>& Pipeline::State::Living() {
  static std::map<std::uint32_t, State*> pipelines;
  return pipelines;
}

Pipeline::State::State() : id(NewPipelineId()) {
  Living()[id] = this;
}

Pipeline::State::~State() {
  Living().erase(id);
}

Pipeline::State* Pipeline::State::Find(std::uint32_t id) {
  const auto found = Living().find(id);
  return found == Living().end() ? nullptr : found->second;
}

CBrick* Pipeline::State::BrickOf(BrickId brick) const {
  const auto found = bricks.find(brick);
  return found == bricks.end() ? nullptr : found->second;
}
