#ifndef _WIN32

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "support/process.h"

extern char** environ;

namespace px::testing {
namespace {

struct Pipe {
  int fd[2] = {-1, -1};
  bool Open() { return ::pipe2(fd, O_CLOEXEC) == 0; }
  void Close(int end) {
    if (fd[end] >= 0) ::close(fd[end]);
    fd[end] = -1;
  }
  ~Pipe() {
    Close(0);
    Close(1);
  }
};

}  // namespace

RunResult RunProcess(const std::vector<std::string>& argv, const RunOptions& options) {
  RunResult r;
  Pipe in, out, err;
  if (argv.empty() || !in.Open() || !out.Open() || !err.Open()) return r;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.fd[0], 0);
  posix_spawn_file_actions_adddup2(&actions, out.fd[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err.fd[1], 2);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    r.err = std::string("cannot start ") + argv[0] + ": " + std::strerror(spawned);
    return r;
  }
  r.started = true;
  in.Close(0);
  out.Close(1);
  err.Close(1);
  ::fcntl(in.fd[1], F_SETFL, O_NONBLOCK);
  ::signal(SIGPIPE, SIG_IGN);  // a program that stops reading must not end the test
  size_t fed = 0;
  if (options.input.empty()) in.Close(1);

  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::milliseconds(int64_t(options.timeout_seconds * 1000));
  while (out.fd[0] >= 0 || err.fd[0] >= 0) {
    pollfd fds[3] = {{out.fd[0], POLLIN, 0}, {err.fd[0], POLLIN, 0}, {in.fd[1], POLLOUT, 0}};
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      r.timed_out = true;
      ::kill(pid, SIGKILL);
      break;
    }
    if (::poll(fds, 3, int(std::min<int64_t>(left.count(), 1000))) < 0 && errno != EINTR) break;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      char buf[65536];
      const ssize_t n = ::read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        (i == 0 ? r.out : r.err).append(buf, size_t(n));
      } else if (n == 0 || errno != EINTR) {
        (i == 0 ? out : err).Close(0);
      }
    }
    if (fds[2].fd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
      const ssize_t n = ::write(in.fd[1], options.input.data() + fed, options.input.size() - fed);
      if (n > 0) fed += size_t(n);
      if ((n < 0 && errno != EAGAIN && errno != EINTR) || fed == options.input.size()) in.Close(1);
    }
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) r.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status) && !r.timed_out) r.signal = WTERMSIG(status);
  return r;
}

std::string FindOnPath(const std::string& name) {
  if (name.find('/') != std::string::npos) return ::access(name.c_str(), X_OK) == 0 ? name : "";
  const char* path = std::getenv("PATH");
  std::string dirs = path ? path : "/usr/bin:/bin";
  size_t start = 0;
  while (start <= dirs.size()) {
    size_t end = dirs.find(':', start);
    if (end == std::string::npos) end = dirs.size();
    std::string candidate = dirs.substr(start, end - start) + "/" + name;
    if (end > start && ::access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return "";
}

}  // namespace px::testing

#endif  // !_WIN32
