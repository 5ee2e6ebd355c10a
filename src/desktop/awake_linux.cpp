// Prevents the sleep of the computer on Linux through systemd-logind, because sleep would interrupt a run.
#include "desktop/awake.h"

#include <QProcess>

namespace quillon {

// A D-Bus call of Qt would block the window while the system bus does not answer. So the request is made by
// the program systemd-inhibit, and lasts until that program ends.
struct Awake::Request {
  QProcess program;
};

Awake::Awake() : request_(std::make_unique<Request>()) {
  QProcess& program = request_->program;
  program.setStandardOutputFile(QProcess::nullDevice());
  program.setStandardErrorFile(QProcess::nullDevice());
  // "cat" waits for the end of its input, which is closed when this program ends in any way.
  program.start("systemd-inhibit",
                {"--what=sleep:idle", "--who=Quillon", "--why=a port is open", "--mode=block", "cat"});
}

Awake::~Awake() {
  request_->program.kill();
  request_->program.waitForFinished();
}

}  // namespace quillon
