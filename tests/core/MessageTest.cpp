#include <atomic>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/TovSys.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using Lines = std::vector<std::string>;

/** Lets a descriptor stand for standard error while it lives. */
class StandardError {
public:
  explicit StandardError(int descriptor) : saved(::dup(2)) { ::dup2(descriptor, 2); }
  ~StandardError()
  {
    ::dup2(saved, 2);
    ::close(saved);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

private:
  int saved;
};

/** What standard error gets while @p send runs. */
template <typename Send>
std::string standardErrorOf(Send send)
{
  const support::TempFolder temp;
  const int descriptor =
      ::open(temp.path("stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  {
    const StandardError redirection(descriptor);
    send();
  }
  ::close(descriptor);
  const std::vector<std::uint8_t> bytes = temp.read("stderr");
  return {bytes.begin(), bytes.end()};
}

TEST(Message, LeadingSeverityIsTakenOff)
{
  support::Messages messages;
  TovSys::error("%ETovAudioFile: no\n");
  TovSys::error("%WTovAudioFile: odd\n");
  TovSys::error("TovAudioMixer: plain\n");
  EXPECT_EQ(messages.take(), (Lines{"E TovAudioFile: no\n", "W TovAudioFile: odd\n",
                                    "- TovAudioMixer: plain\n"}));
}

TEST(Message, ArgumentsAreFormatted)
{
  support::Messages messages;
  TovSys::error("%ETovAudioFile: Could not read \"%s\"\n", "a.wav");
  TovSys::error("%W%d of %5.2f%%\n", -7, 99.5);
  EXPECT_EQ(messages.take(),
            (Lines{"E TovAudioFile: Could not read \"a.wav\"\n", "W -7 of 99.50%\n"}));
}

TEST(Message, SeverityElsewhereThanInFrontIsAConversion)
{
  support::Messages messages;
  TovSys::error("x=%E\n", 1.5);
  TovSys::error("%E%E\n", 1.5);
  TovSys::error(" %E\n", 2.0);
  TovSys::error("%W%E\n", 0.25);
  EXPECT_EQ(messages.take(), (Lines{"- x=1.500000E+00\n", "E 1.500000E+00\n",
                                    "-  2.000000E+00\n", "W 2.500000E-01\n"}));
}

TEST(Message, SeverityInAnArgumentIsText)
{
  support::Messages messages;
  TovSys::error("%s\n", "%Enot a severity");
  TovSys::error("%E%s\n", "%Wstays %d");
  EXPECT_EQ(messages.take(), (Lines{"- %Enot a severity\n", "E %Wstays %d\n"}));
}

TEST(Message, OtherConversionsInFrontAreNoSeverity)
{
  support::Messages messages;
  TovSys::error("%d tracks\n", 3);
  TovSys::error("%%E\n");
  TovSys::error("E: text\n");
  TovSys::error(" E\n");
  TovSys::error("%e\n", 1.0);
  EXPECT_EQ(messages.take(),
            (Lines{"- 3 tracks\n", "- %E\n", "- E: text\n", "-  E\n", "- 1.000000e+00\n"}));
}

TEST(Message, TextKeepsItsLineFeedsAndGetsNoneAdded)
{
  support::Messages messages;
  TovSys::error("%Eone\ntwo\n\n");
  TovSys::error("%Wno line feed");
  TovSys::error("%E\n");
  EXPECT_EQ(messages.take(), (Lines{"E one\ntwo\n\n", "W no line feed", "E \n"}));
}

TEST(Message, SeverityAloneIsAnEmptyMessageAtMost)
{
  support::Messages messages;
  TovSys::error("%E");
  const Lines lines = messages.take();
  for (const std::string& line : lines)
    EXPECT_EQ(line, "E ");
  EXPECT_LE(lines.size(), 1u);
}

TEST(Message, LongTextsAreWhole)
{
  support::Messages messages;
  for (const std::size_t length : {255u, 256u, 1023u, 1024u, 1025u, 4096u, 65536u, 2000000u}) {
    const std::string text(length, 'm');
    TovSys::error("%E<%s>\n", text.c_str());
    EXPECT_TRUE(messages.take() == Lines{"E <" + text + ">\n"}) << length;
  }
}

TEST(Message, HandlerGetsItsDataOnTheSendersThread)
{
  struct Receiver {
    std::thread::id id;
    int calls = 0;
  } first, second;
  const TovSys::MessageHandler handler = [](char, const char*, void* data) {
    static_cast<Receiver*>(data)->id = std::this_thread::get_id();
    ++static_cast<Receiver*>(data)->calls;
  };
  TovSys::setMessageHandler(handler, &first);
  TovSys::error("%Eone\n");
  TovSys::setMessageHandler(handler, &second);
  std::thread::id sender;
  std::thread thread([&sender] {
    sender = std::this_thread::get_id();
    TovSys::error("%Etwo\n");
  });
  thread.join();
  TovSys::setMessageHandler(nullptr, nullptr);
  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(first.id, std::this_thread::get_id());
  EXPECT_EQ(second.calls, 1);
  EXPECT_EQ(second.id, sender);
}

TEST(Message, HandlerSeesNullAsTheSeverityOfAPlainMessage)
{
  char severity = 'x';
  TovSys::setMessageHandler(
      [](char given, const char*, void* data) { *static_cast<char*>(data) = given; }, &severity);
  TovSys::error("plain\n");
  TovSys::setMessageHandler(nullptr, nullptr);
  EXPECT_EQ(severity, '\0');
}

TEST(Message, WithoutAHandlerTheTextGoesToStandardErrorAsItIs)
{
  const std::string output = standardErrorOf([] {
    TovSys::error("%ETovWav: %s\n", "broken");
    TovSys::error("%Wand no line feed|");
    TovSys::error("plain\n");
  });
  EXPECT_EQ(output, "TovWav: broken\nand no line feed|plain\n");
}

TEST(Message, HandlerReplacesStandardErrorAndNullBringsItBack)
{
  const std::string output = standardErrorOf([] {
    {
      support::Messages messages;
      TovSys::error("%Ecollected\n");
      EXPECT_EQ(messages.take(), Lines{"E collected\n"});
    }
    TovSys::error("%Eprinted\n");
  });
  EXPECT_EQ(output, "printed\n");
}

TEST(Message, LongTextOnStandardErrorIsWhole)
{
  const std::string text(500000, 'm');
  EXPECT_TRUE(standardErrorOf([&text] { TovSys::error("%E%s\n", text.c_str()); }) == text + "\n");
}

TEST(Message, MessageDoesNotStopTheProgramWhenStandardErrorIsClosed)
{
  const int saved = ::dup(2);
  ::close(2);
  TovSys::error("%Enobody reads this\n");
  ::dup2(saved, 2);
  ::close(saved);
  EXPECT_EQ(standardErrorOf([] { TovSys::error("after\n"); }), "after\n");
}

constexpr int kThreads = 8;

/** Each thread sends lines of a letter of its own. */
void sendLines(int messagesPerThread, std::size_t length)
{
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, messagesPerThread, length] {
      const std::string text(length, static_cast<char>('a' + t));
      for (int i = 0; i < messagesPerThread; ++i)
        TovSys::error("%E%s\n", text.c_str());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

void expectWholeLines(const std::string& output, int messagesPerThread, std::size_t length)
{
  std::map<std::string, int> counts;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);)
    ++counts[line];
  EXPECT_EQ(counts.size(), static_cast<std::size_t>(kThreads)) << "some line is torn";
  for (int t = 0; t < kThreads; ++t)
    EXPECT_EQ(counts[std::string(length, static_cast<char>('a' + t))], messagesPerThread) << t;
}

TEST(MessageThreads, ConcurrentMessagesReachAPipeInOnePieceEach)
{
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::string output;
  std::thread reader([&output, &ends] {
    char buffer[1 << 16];
    for (ssize_t got; (got = ::read(ends[0], buffer, sizeof buffer)) > 0;)
      output.append(buffer, static_cast<std::size_t>(got));
  });
  {
    const StandardError redirection(ends[1]);
    ::close(ends[1]);
    sendLines(200, 3000);
  }
  reader.join();
  ::close(ends[0]);
  expectWholeLines(output, 200, 3000);
}

TEST(MessageThreads, ConcurrentLongMessagesReachAFileInOnePieceEach)
{
  expectWholeLines(standardErrorOf([] { sendLines(50, 20000); }), 50, 20000);
}

TEST(MessageThreads, ConcurrentMessagesReachTheHandlerWhole)
{
  support::Messages messages;
  sendLines(200, 2000);
  std::string output;
  for (const std::string& message : messages.take()) {
    ASSERT_EQ(message.substr(0, 2), "E ");
    output += message.substr(2);
  }
  expectWholeLines(output, 200, 2000);
}

// Each handler expects data of its own: a message that came to one handler with
// the other's data would count as wrong.
TEST(MessageThreads, HandlerMayBeExchangedWhileMessagesAreSent)
{
  static std::atomic<int> wrong;
  wrong = 0;
  int first = 1;
  int second = 2;
  std::atomic<bool> isDone{false};
  TovSys::setMessageHandler(
      [](char, const char*, void* data) { wrong += *static_cast<int*>(data) != 1; }, &first);
  std::thread exchanger([&] {
    while (!isDone) {
      TovSys::setMessageHandler(
          [](char, const char*, void* data) { wrong += *static_cast<int*>(data) != 2; }, &second);
      TovSys::setMessageHandler(
          [](char, const char*, void* data) { wrong += *static_cast<int*>(data) != 1; }, &first);
    }
  });
  sendLines(500, 10);
  isDone = true;
  exchanger.join();
  TovSys::setMessageHandler(nullptr, nullptr);
  EXPECT_EQ(wrong.load(), 0);
}

} // namespace
