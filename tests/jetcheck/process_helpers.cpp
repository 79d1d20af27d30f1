#include "jetcheck/process_helpers.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace px::jetcheck {
namespace {

constexpr std::size_t kMaxKeptStderr = std::size_t(1) << 20;

struct Pipe {
  int read_end = -1;
  int write_end = -1;
  bool Open() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    read_end = fds[0];
    write_end = fds[1];
    return true;
  }
  void CloseRead() { CloseFd(read_end); }
  void CloseWrite() { CloseFd(write_end); }
  static void CloseFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
  }
};

double Seconds(const timeval& tv) {
  return double(tv.tv_sec) + double(tv.tv_usec) / 1e6;
}

// In the child: wires the pipes and runs the program. When exec fails, errno is sent back
// through `failed`, whose write end closes by itself on a successful exec.
[[noreturn]] void ExecChild(const std::vector<std::string>& argv, Pipe& out, Pipe& err,
                            Pipe& failed) {
  int devnull = open("/dev/null", O_RDONLY);
  if (devnull >= 0) dup2(devnull, STDIN_FILENO);
  dup2(out.write_end, STDOUT_FILENO);
  dup2(err.write_end, STDERR_FILENO);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  execvp(args[0], args.data());
  int code = errno;
  ssize_t ignored = write(failed.write_end, &code, sizeof code);
  (void)ignored;
  _exit(127);
}

// Appends what is readable on fd; returns false at end of file.
bool Drain(int fd, std::string* keep, std::size_t limit, std::size_t& total) {
  char buf[65536];
  ssize_t n = read(fd, buf, sizeof buf);
  if (n < 0) return errno == EINTR || errno == EAGAIN;
  if (n == 0) return false;
  total += std::size_t(n);
  if (keep != nullptr && keep->size() < limit) {
    keep->append(buf, std::min(std::size_t(n), limit - keep->size()));
  }
  return true;
}

}  // namespace

std::string ProcessResult::Describe() const {
  char buf[160];
  if (!started) return "could not be started";
  if (timed_out) {
    std::snprintf(buf, sizeof buf, "timed out after %.2f s wall, %.2f s cpu", wall_seconds,
                  cpu_seconds);
  } else if (signal != 0) {
    std::snprintf(buf, sizeof buf, "killed by signal %d (%s) after %.2f s cpu", signal,
                  strsignal(signal), cpu_seconds);
  } else {
    std::snprintf(buf, sizeof buf, "exit %d after %.3f s cpu", exit_code, cpu_seconds);
  }
  return buf;
}

ProcessResult RunProcess(const std::vector<std::string>& argv, const ProcessOptions& options) {
  ProcessResult result;
  Pipe out, err, failed;
  if (argv.empty() || !out.Open() || !err.Open() || !failed.Open()) return result;
  auto start = std::chrono::steady_clock::now();
  pid_t pid = fork();
  if (pid < 0) return result;
  if (pid == 0) ExecChild(argv, out, err, failed);
  out.CloseWrite();
  err.CloseWrite();
  failed.CloseWrite();
  int exec_errno = 0;
  result.started = read(failed.read_end, &exec_errno, sizeof exec_errno) == 0;
  failed.CloseRead();

  std::size_t err_total = 0;
  auto deadline = start + std::chrono::duration<double>(options.timeout_seconds);
  bool out_open = true, err_open = true;
  while (out_open || err_open) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      kill(pid, SIGKILL);
      result.timed_out = true;
      break;
    }
    pollfd fds[2] = {{out_open ? out.read_end : -1, POLLIN, 0},
                     {err_open ? err.read_end : -1, POLLIN, 0}};
    int ready = poll(fds, 2, int(std::min<long long>(left.count(), 1000)));
    if (ready < 0 && errno != EINTR) break;
    if (ready <= 0) continue;
    if (out_open && (fds[0].revents & (POLLIN | POLLHUP | POLLERR))) {
      out_open = Drain(out.read_end, options.keep_stdout ? &result.out : nullptr,
                       options.max_kept_bytes, result.out_bytes);
    }
    if (err_open && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
      err_open = Drain(err.read_end, &result.err, kMaxKeptStderr, err_total);
    }
  }
  out.CloseRead();
  err.CloseRead();

  int status = 0;
  rusage usage{};
  while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  result.wall_seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  result.cpu_seconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  if (WIFEXITED(status)) {
    result.exit_code = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = result.timed_out ? 0 : WTERMSIG(status);
  }
  return result;
}

std::string FindOnPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  if (path == nullptr) return "";
  std::string_view dirs = path;
  while (true) {
    std::size_t end = std::min(dirs.find(':'), dirs.size());
    std::string candidate(end == 0 ? std::string_view(".") : dirs.substr(0, end));
    candidate += '/';
    candidate += name;
    struct stat st {};
    if (stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
        access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
    if (end == dirs.size()) return "";
    dirs.remove_prefix(end + 1);
  }
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(begin, end - begin);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    begin = end + 1;
  }
  return lines;
}

}  // namespace px::jetcheck
