#include "core/TovAudioContext.h"

#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

static_assert(!std::is_default_constructible_v<TovAudioContext>);
static_assert(!std::is_polymorphic_v<TovAudioContext>);
static_assert(std::is_same_v<decltype(TovAudioContext::sampleRate), int>);
static_assert(std::is_same_v<decltype(TovAudioContext::quality), int>);
static_assert(std::is_same_v<decltype(TovAudioContext::frameRate), double>);
static_assert(std::is_same_v<decltype(TovAudioContext::timeOffset), double>);
static_assert(offsetof(TovAudioContext, sampleRate) == 0);
static_assert(offsetof(TovAudioContext, quality) == 4);
static_assert(offsetof(TovAudioContext, frameRate) == 8);
static_assert(offsetof(TovAudioContext, timeOffset) == 16);
static_assert(sizeof(TovAudioContext) == 24);

void expectFields(const TovAudioContext& context, int sampleRate, int quality, double frameRate,
                  double timeOffset)
{
  EXPECT_EQ(context.sampleRate, sampleRate);
  EXPECT_EQ(context.quality, quality);
  EXPECT_EQ(context.frameRate, frameRate);
  EXPECT_EQ(context.timeOffset, timeOffset);
}

TEST(AudioContext, ConstructorTakesRateQualityFrameRateAndOffsetInThatOrder)
{
  expectFields(TovAudioContext(44100, 1, 23.976, -0.125), 44100, 1, 23.976, -0.125);
}

TEST(AudioContext, ValuesAreTakenUnclamped)
{
  expectFields(TovAudioContext(-5, 77, -1e300, 1e-300), -5, 77, -1e300, 1e-300);
}

TEST(AudioContext, CopyConstructorCopiesAllFourFields)
{
  const TovAudioContext source(48000, 3, 25.0, 1.5);
  const TovAudioContext duplicate(source);
  expectFields(duplicate, 48000, 3, 25.0, 1.5);
}

TEST(AudioContext, CopyCopiesAllFourFieldsAndLeavesTheSource)
{
  const TovAudioContext source(96000, 2, 30.0, -7.25);
  TovAudioContext target(1, 0, 1.0, 0.0);
  target.copy(source);
  expectFields(target, 96000, 2, 30.0, -7.25);
  expectFields(source, 96000, 2, 30.0, -7.25);
}

TEST(AudioContext, AssignmentCopiesAllFourFieldsAndReturnsTheTarget)
{
  const TovAudioContext source(22050, 1, 24.0, 0.5);
  TovAudioContext target(1, 0, 1.0, 0.0);
  EXPECT_EQ(&(target = source), &target);
  expectFields(target, 22050, 1, 24.0, 0.5);
}

TEST(AudioContext, AssignmentToItselfChangesNothingAndReturnsTheObject)
{
  TovAudioContext context(44100, 1, 24.0, 3.75);
  const TovAudioContext& alias = context;
  EXPECT_EQ(&(context = alias), &context);
  expectFields(context, 44100, 1, 24.0, 3.75);
}

TEST(AudioContext, CopyOntoItselfChangesNothing)
{
  TovAudioContext context(44100, 1, 24.0, 3.75);
  context.copy(context);
  expectFields(context, 44100, 1, 24.0, 3.75);
}

TEST(AudioContext, CopiesAreIndependent)
{
  TovAudioContext source(44100, 1, 24.0, 0.0);
  TovAudioContext duplicate(source);
  source.sampleRate = 8000;
  source.timeOffset = 9.0;
  expectFields(duplicate, 44100, 1, 24.0, 0.0);
}

TEST(AudioContext, DestroyDoesNothing)
{
  TovAudioContext context(44100, 1, 24.0, 3.75);
  context.destroy();
  context.destroy();
  expectFields(context, 44100, 1, 24.0, 3.75);
}

} // namespace
