#include "tests/soundserver/SoundServer.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/soundserver/Waiting.h"

namespace {

bool listensAt(const std::string& path)
{
  ::sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path)
    throw std::runtime_error("too long for a socket: " + path);
  std::memcpy(address.sun_path, path.c_str(), path.size());
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool isConnected =
      ::connect(descriptor, reinterpret_cast<const ::sockaddr*>(&address), sizeof address) == 0;
  ::close(descriptor);
  return isConnected;
}

} // namespace

void SoundServer::start()
{
  program.reset();
  // Ready when it listens, hence the protocol as the last module.  Memory is
  // not shared, so that nothing stays behind in the system when it is killed.
  // It warns of being run as root, and does so all the same.
  program = launchAttended(
      {"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
       "--disable-shm=yes", "--realtime=no", "--high-priority=no", "--no-cpu-limit=yes",
       "--log-target=stderr", "--log-level=notice", "-L",
       "module-null-sink sink_name=void norewinds=1 format=float32le rate=" +
           std::to_string(kRate) + " channels=" + std::to_string(kChannels),
       "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + surroundings.socket()});
  if (!holdsSoon([this] {
        expectRunning(*program, "pulseaudio");
        return listensAt(surroundings.socket());
      }))
    throw std::runtime_error("pulseaudio does not listen");
  // It has laid down the priority that it inherited.
  const std::string threads = "/proc/" + std::to_string(program->pid()) + "/task";
  for (const auto& thread : std::filesystem::directory_iterator(threads))
    putAhead(std::stoi(thread.path().filename().string()));
}

void SoundServer::kill()
{
  program->send(SIGKILL);
  std::filesystem::remove(surroundings.socket());
}

void SoundServer::suspend()
{
  program->send(SIGSTOP);
}

std::unique_ptr<support::Program> launchAttended(const std::vector<std::string>& arguments)
{
  support::Launch launch;
  launch.arguments = arguments;
  const ::pid_t self = ::getpid();
  launch.beforeExec = [self] {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != self)
      ::_exit(1);
  };
  return std::make_unique<support::Program>(launch);
}

void expectRunning(support::Program& program, const std::string& name)
{
  ::siginfo_t info{};
  if (::waitid(P_PID, static_cast<::id_t>(program.pid()), &info, WEXITED | WNOHANG | WNOWAIT) ==
          0 &&
      info.si_pid == 0)
    return;
  const support::Outcome outcome = program.wait();
  throw std::runtime_error(outcome.exitCode == 127
                               ? name + " is not installed, these tests need it"
                               : name + " has ended with " + std::to_string(outcome.exitCode) +
                                     ", signal " + std::to_string(outcome.signal) + ": " +
                                     outcome.err);
}
