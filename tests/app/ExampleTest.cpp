#ifdef TOV_EXAMPLE_MIX
// The example program with real files, compared with the mixer's own result.
#include <algorithm>
#include <cmath>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/app/Tov.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"

namespace {

class Example : public support::TovTest {
protected:
  /** What the example prints. */
  std::string printed(const std::vector<std::string>& files) const
  {
    support::Launch launch{.arguments = {TOV_EXAMPLE_MIX}, .folder = folder.folder()};
    launch.arguments.insert(launch.arguments.end(), files.begin(), files.end());
    const support::Outcome outcome = support::run(launch);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }

  /** The line for the first second of a mix of the files, each from 0 to its
   *  end, as the mixer renders it. */
  std::string expectedFor(const std::vector<std::string>& files) const
  {
    const support::Owned<TovAudioMixer> mixer(new TovAudioMixer);
    for (const std::string& name : files) {
      const support::Owned<TovAudioFile> file(new TovAudioFile);
      EXPECT_EQ(file->initialize(folder.path(name).c_str()), 0);
      mixer->addProvider(file.get());
      mixer->setStartTime(file.get(), 0.0);
      mixer->setEndTime(file.get(), file->getSrcOut());
    }
    const TovAudioContext context(48000, 2, 24.0, 0.0);
    support::Buffers buffers(2, 48000);
    mixer->activate(context);
    const int status =
        mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 0.0, 1.0);
    float peak = 0.0f;
    for (const float sample : buffers.samples(0))
      peak = std::max(peak, std::fabs(sample));
    char line[80];
    std::snprintf(line, sizeof line, "status %d, peak of the left channel %.6f\n", status,
                  static_cast<double>(peak));
    return line;
  }
};

TEST_F(Example, PrintsThePeakOfTheMixersFirstSecond)
{
  write("a.wav", support::randomSound(2, 96000, 48000, 16, 1, 0.3));
  write("b.aiff", support::randomSound(1, 30000, 44100, 24, 2, 0.3));
  for (const std::vector<std::string>& files : {std::vector<std::string>{"a.wav"},
                                                {"b.aiff"},
                                                {"a.wav", "b.aiff"},
                                                {"b.aiff", "a.wav", "b.aiff"}})
    EXPECT_EQ(printed(files), expectedFor(files));
}

TEST_F(Example, PrintsAKnownPeak)
{
  support::IntegerSound sound = support::constantSound(2, 96000, 48000, 16, 8192);
  sound.channels[1].assign(96000, 16384);
  sound.channels[0][60000] = 32000; // in the second second
  write("a.wav", sound);
  EXPECT_EQ(printed({"a.wav"}), "status 0, peak of the left channel 0.250000\n");
  EXPECT_EQ(printed({"a.wav", "a.wav"}), "status 0, peak of the left channel 0.500000\n");
}

} // namespace
#endif
