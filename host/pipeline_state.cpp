#include "host/pipeline_state.h"

#include <map>
#include <mutex>

// The pipelines of all threads, by their ids. Never destroyed: threads may outlive main.
class Pipeline::State::Living {
 public:
  static Living& Ones();

  std::uint32_t NewId() {
    const std::lock_guard<std::mutex> hold(mMutex);
    return ++mLastId;
  }
  void Add(State* state) {
    const std::lock_guard<std::mutex> hold(mMutex);
    mStates[state->id] = state;
  }
  void Remove(const State* state) {
    const std::lock_guard<std::mutex> hold(mMutex);
    mStates.erase(state->id);
  }
  State* Find(std::uint32_t wanted) {
    const std::lock_guard<std::mutex> hold(mMutex);
    const auto found = mStates.find(wanted);
    return found == mStates.end() ? nullptr : found->second;
  }

 private:
  std::mutex mMutex;
  std::uint32_t mLastId = 0;
  std::map<std::uint32_t, State*> mStates;
};

Pipeline::State::Living& Pipeline::State::Living::Ones() {
  static Living& ones = *new Living;
  return ones;
}

Pipeline::State::State(const HostSettings& ofItsHost)
    : id(Living::Ones().NewId()), settings(ofItsHost) {
  Living::Ones().Add(this);
}

Pipeline::State::~State() {
  Living::Ones().Remove(this);
}

Pipeline::State* Pipeline::State::Find(std::uint32_t id) {
  return Living::Ones().Find(id);
}

const HostSettings& Pipeline::State::SettingsFor(std::uint32_t id) {
  const State* const pipeline = Find(id);
  return pipeline == nullptr ? SettingsInForce::Now() : pipeline->settings;
}

CBrick* Pipeline::State::BrickOf(BrickId brick) const {
  const auto found = bricks.find(brick);
  return found == bricks.end() ? nullptr : found->second;
}
