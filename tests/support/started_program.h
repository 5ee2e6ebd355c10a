#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

namespace quillon::test {

/// A program that a test started, its standard and error output on one pipe. It ends with the test's main
/// thread, whatever ends that.
class StartedProgram {
 public:
  /// The first of the words is the program's path.
  explicit StartedProgram(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(1);  // the test ended before it could be asked for
      dup2(ends[1], STDOUT_FILENO);
      dup2(ends[1], STDERR_FILENO);
      execv(arguments[0], arguments.data());
      _exit(127);
    }
    close(ends[1]);
    output_ = fdopen(ends[0], "r");
  }
  StartedProgram(const StartedProgram&) = delete;
  StartedProgram& operator=(const StartedProgram&) = delete;
  ~StartedProgram() {
    End(SIGKILL);
    if (output_ != nullptr) std::fclose(output_);
  }

  /// The next line of its output with its end; empty when there is none any more. Waits for it.
  std::string ReadLine() {
    char line[1000] = "";
    return output_ != nullptr && std::fgets(line, sizeof line, output_) != nullptr ? line : "";
  }

  /// Fills the pipe of its output, which nobody reads: from here on each of its writes blocks.
  void FillOutput() {
    const int pipe =
        open(("/proc/self/fd/" + std::to_string(fileno(output_))).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string block(4096, ' ');
    while (write(pipe, block.data(), block.size()) > 0 || write(pipe, block.data(), 1) > 0) {
    }
    close(pipe);
  }

  std::string ReadAll() {
    std::string text;
    for (std::string line = ReadLine(); !line.empty(); line = ReadLine()) text += line;
    return text;
  }

  /// Waits for the end; returns the exit status, -1 for an end by a signal.
  int Wait() {
    int status = 0;
    if (process_ <= 0 || waitpid(process_, &status, 0) != process_) return -1;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void Send(int signal) {
    if (process_ > 0) kill(process_, signal);
  }

  int End(int signal) {
    Send(signal);
    return Wait();
  }

 private:
  pid_t process_ = -1;
  std::FILE* output_ = nullptr;
};

}  // namespace quillon::test
