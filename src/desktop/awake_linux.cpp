#include "desktop/awake.h"

#include <QProcess>

namespace quillon {

// logind is asked by its own small program, which holds the request until it ends. A connection of Qt's to
// the system bus would hold the window as long as that bus is silent.
struct Awake::Request {
  QProcess program;
};

Awake::Awake() : request_(std::make_unique<Request>()) {
  QProcess& program = request_->program;
  program.setStandardOutputFile(QProcess::nullDevice());
  program.setStandardErrorFile(QProcess::nullDevice());
  // "cat" ends with this program, however that ends: then nobody holds its input open.
  program.start("systemd-inhibit",
                {"--what=sleep:idle", "--who=Quillon", "--why=a port is open", "--mode=block", "cat"});
}

Awake::~Awake() {
  request_->program.kill();
  request_->program.waitForFinished();
}

}  // namespace quillon
