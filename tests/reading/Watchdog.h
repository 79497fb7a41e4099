#pragma once
// A watchdog for tests of reads that used to hang: when the guarded work has not ended in time,
// the test program stops with a message (a hang fails the test instead of stalling the suite).
// It bounds a hang; it does not measure speed.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace kelp::test {

class Watchdog
{
public:
    Watchdog(std::string what, std::chrono::seconds limit)
        : _thread([this, what = std::move(what), limit] {
              std::unique_lock lock(_mutex);
              if (!_done.wait_for(lock, limit, [this] { return _finished; })) {
                  std::fprintf(stderr, "Watchdog: %s did not end within %lld s\n", what.c_str(),
                               static_cast<long long>(limit.count()));
                  std::_Exit(3);
              }
          })
    {}
    ~Watchdog()
    {
        {
            std::lock_guard lock(_mutex);
            _finished = true;
        }
        _done.notify_all();
        _thread.join();
    }

private:
    std::mutex _mutex;
    std::condition_variable _done;
    bool _finished = false;
    std::thread _thread;
};

} // namespace kelp::test
