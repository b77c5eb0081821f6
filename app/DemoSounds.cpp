#include "app/DemoSounds.h"

#include <algorithm>
#include <cmath>

#include "app/Dither.h"

static constexpr double kTwoPi = 6.283185307179586;
static constexpr double kBeat = 0.5; // seconds
static constexpr double kBar = 4.0 * kBeat;
static constexpr int kBars = 4;

/** Notes as semitones above the A of 110 Hz. */
static double frequencyOf(double semitones)
{
  return 110.0 * std::exp2(semitones / 12.0);
}

struct Chord {
  double root;
  double third;
  double fifth;
};

static constexpr Chord kChords[kBars] = {{0, 3, 7}, {-4, 0, 3}, {3, 7, 10}, {-2, 2, 5}};

/** One channel being put together, note by note. */
class Canvas {
public:
  Canvas(int framesPerSecond, double seconds)
      : rate(framesPerSecond), samples(static_cast<std::size_t>(seconds * framesPerSecond))
  {
  }

  /** Adds @p sound(t), t in seconds from @p start, for @p seconds. */
  template <typename Sound>
  void add(double start, double seconds, Sound sound)
  {
    const std::size_t first = static_cast<std::size_t>(start * rate);
    const std::size_t count = static_cast<std::size_t>(seconds * rate);
    for (std::size_t i = 0; i < count && first + i < samples.size(); ++i) {
      samples[first + i] += static_cast<float>(sound(static_cast<double>(i) / rate));
    }
  }

  const std::vector<float>& take() const { return samples; }

private:
  int rate;
  std::vector<float> samples;
};

/** Rises within @p attack, holds, and falls within the last @p release seconds. */
static double envelope(double t, double seconds, double attack, double release)
{
  return std::clamp(std::min(t / attack, (seconds - t) / release), 0.0, 1.0);
}

static double sine(double frequency, double t)
{
  return std::sin(kTwoPi * frequency * t);
}

/** A few harmonics, the upper ones softer: rounder than a sawtooth. */
static double softTone(double frequency, double t, int harmonics)
{
  double sum = 0.0;
  for (int h = 1; h <= harmonics; ++h) {
    sum += sine(frequency * h, t) / (h * h);
  }
  return sum;
}

static double noise(int stream, double t)
{
  const long long position = static_cast<long long>(t * 44100.0);
  return 2.0 * noiseAt(static_cast<unsigned>(stream), position) - 1.0;
}

static double kick(double t)
{
  // The pitch falls from 150 to 50 Hz; the phase is its integral.
  const double phase = 50.0 * t + 100.0 * 0.03 * (1.0 - std::exp(-t / 0.03));
  return 0.65 * std::sin(kTwoPi * phase) * std::exp(-t / 0.12);
}

static double snare(int stream, double t)
{
  return (0.25 * noise(stream, t) + 0.25 * sine(185.0, t)) * std::exp(-t / 0.07);
}

static double hat(int stream, double t)
{
  // The difference of neighbours leaves the high part of the noise.
  return 0.12 * (noise(stream, t) - noise(stream, t + 1.0 / 44100.0)) * std::exp(-t / 0.025);
}

static void addDrumBar(Canvas& canvas, double start, int channel, int bar)
{
  for (int beat = 0; beat < 4; ++beat) {
    const double at = start + beat * kBeat;
    const int stream = 100 * bar + 10 * beat + channel;
    if (beat % 2 == 0) {
      canvas.add(at, 0.45, kick);
    } else {
      canvas.add(at, 0.3, [=](double t) { return snare(stream, t); });
    }
    canvas.add(at, 0.1, [=](double t) { return hat(stream, t); });
    canvas.add(at + kBeat / 2, 0.1, [=](double t) { return hat(stream + 5, t); });
  }
}

DemoSound makeDrums()
{
  DemoSound sound = {"drums.wav", 44100, 16, {}};
  for (int channel = 0; channel < 2; ++channel) {
    Canvas canvas(sound.rate, kBars * kBar);
    for (int bar = 0; bar < kBars; ++bar) {
      addDrumBar(canvas, bar * kBar, channel, bar);
    }
    sound.channels.push_back(canvas.take());
  }
  return sound;
}

DemoSound makeBass()
{
  DemoSound sound = {"bass.aiff", 48000, 24, {}};
  Canvas canvas(sound.rate, kBars * kBar);
  for (int bar = 0; bar < kBars; ++bar) {
    for (int eighth = 0; eighth < 8; ++eighth) {
      const double octave = eighth % 4 == 3 ? 0.0 : -12.0;
      const double frequency = frequencyOf(kChords[bar].root + octave);
      canvas.add(bar * kBar + eighth * kBeat / 2, 0.23, [=](double t) {
        return 0.5 * softTone(frequency, t, 4) * envelope(t, 0.23, 0.005, 0.08);
      });
    }
  }
  sound.channels.push_back(canvas.take());
  return sound;
}

/** One note of a chord, a little out of tune, for the length of its bar. */
static void addPadNote(Canvas& canvas, int bar, double semitones, double cents)
{
  const double frequency = frequencyOf(semitones + 12.0 + cents / 100.0);
  canvas.add(bar * kBar, kBar, [=](double t) {
    return 0.14 * softTone(frequency, t, 6) * envelope(t, kBar, 0.25, 0.3);
  });
}

DemoSound makePad()
{
  DemoSound sound = {"pad.wav", 32000, 24, {}};
  constexpr double kDetune[4] = {-4.0, 4.0, -9.0, 9.0};
  for (int channel = 0; channel < 4; ++channel) {
    Canvas canvas(sound.rate, kBars * kBar);
    for (int bar = 0; bar < kBars; ++bar) {
      // The back pair sounds an octave above the front pair.
      const double octave = channel < 2 ? 0.0 : 12.0;
      addPadNote(canvas, bar, kChords[bar].root + octave, kDetune[channel]);
      addPadNote(canvas, bar, kChords[bar].third + octave, -kDetune[channel]);
      addPadNote(canvas, bar, kChords[bar].fifth + octave, kDetune[channel]);
    }
    sound.channels.push_back(canvas.take());
  }
  return sound;
}

DemoSound makeBells()
{
  DemoSound sound = {"bells.aiff", 22050, 8, {}};
  Canvas canvas(sound.rate, kBars * kBar);
  for (int bar = 0; bar < kBars; ++bar) {
    const Chord& chord = kChords[bar];
    const double steps[4] = {chord.root + 24, chord.fifth + 24, chord.third + 36, chord.fifth + 24};
    for (int note = 0; note < 4; ++note) {
      const double frequency = frequencyOf(steps[note]);
      canvas.add(bar * kBar + note * kBeat, 1.2, [=](double t) {
        const double overtone = 0.4 * sine(frequency * 2.76, t) * std::exp(-t / 0.1);
        return 0.35 * (sine(frequency, t) + overtone) * std::exp(-t / 0.35) *
               envelope(t, 1.2, 0.002, 0.1);
      });
    }
  }
  sound.channels.push_back(canvas.take());
  return sound;
}

DemoSound makeLead()
{
  DemoSound sound = {"lead.aif", 96000, 16, {}};
  constexpr double kMelody[kBars][2] = {{12, 15}, {15, 12}, {19, 15}, {14, 10}};
  for (int channel = 0; channel < 2; ++channel) {
    Canvas canvas(sound.rate, kBars * kBar);
    for (int note = 0; note < 2 * kBars; ++note) {
      const double frequency = frequencyOf(kMelody[note / 2][note % 2] + 12.0);
      const double level = note % 2 == channel ? 0.4 : 0.2;
      canvas.add(note * kBar / 2, 0.95, [=](double t) {
        const double vibrato = 0.004 * std::sin(kTwoPi * 5.5 * t) * std::min(t / 0.4, 1.0);
        return level * softTone(frequency, t + vibrato / frequency * 20.0, 5) *
               envelope(t, 0.95, 0.04, 0.25);
      });
    }
    sound.channels.push_back(canvas.take());
  }
  return sound;
}
