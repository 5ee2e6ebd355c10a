// Turns signals such as SIGTERM into events of the windows. A signal handler may call only few functions, and
// none of Qt. So it writes a byte into a pipe. The event loop of Qt watches the other end, and calls
// `onSignal`.
#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <utility>

#include "desktop/end_signals.h"

namespace quillon {
namespace {

volatile std::sig_atomic_t writeEnd = -1;

void Notify(int) {
  const int error = errno;
  (void)!write(writeEnd, "", 1);
  errno = error;
}

}  // namespace

struct EndSignals::Pipe {
  explicit Pipe(const int (&ends)[2]) : readEnd(ends[0]), readable(readEnd, QSocketNotifier::Read) {
    writeEnd = ends[1];
  }
  ~Pipe() {
    readable.setEnabled(false);
    close(writeEnd);
    writeEnd = -1;  // later signals are ignored, since the program ends
    close(readEnd);
  }
  int readEnd;
  QSocketNotifier readable;
};

EndSignals::EndSignals(std::function<void()> onSignal) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;  // signals then end the program at once
  pipe_ = std::make_unique<Pipe>(ends);
  QObject::connect(&pipe_->readable, &QSocketNotifier::activated, [this, act = std::move(onSignal)] {
    char received[16];
    (void)!read(pipe_->readEnd, received, sizeof received);
    act();
  });
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    if (std::signal(signal, Notify) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

EndSignals::~EndSignals() = default;

}  // namespace quillon
