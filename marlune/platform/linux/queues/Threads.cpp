#include "marlune/platform/linux/queues/Threads.h"

#include <pthread.h>
#include <signal.h>

#include <initializer_list>
#include <system_error>
#include <utility>

namespace marlune {

std::optional<std::thread> startThread(const std::string& name, std::function<void()> body) {
  sigset_t blocked;
  sigfillset(&blocked);
  // What a fault in the thread itself raises, and what profilers send, must arrive where it belongs.
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF}) {
    sigdelset(&blocked, fault);
  }
  sigset_t before;
  // A new thread inherits the mask, so that there is no moment at which a signal could reach it.
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  std::optional<std::thread> thread;
  try {
    thread.emplace([title = name.substr(0, 15), run = std::move(body)]() noexcept {
      pthread_setname_np(pthread_self(), title.c_str());
      run();
    });
  } catch (const std::system_error&) {  // no thread to be had: answered with nothing
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace marlune
