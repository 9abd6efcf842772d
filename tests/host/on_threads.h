#pragma once

#include <functional>
#include <thread>
#include <vector>

// Does the work on `count` threads at the same time; each is given its number.
inline void OnThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
}
