#include "app/PlotSoundPicture.h"

#include <optional>

#include "app/Failures.h"
#include "app/PlotFacts.h"
#include "app/PlotSpectrogram.h"
#include "app/PlotWaveform.h"

static constexpr double kLeastLane = 8.0; // pixels
static constexpr const char* kClipped = "at full scale";

/** Where everything lies. */
struct SoundLayout {
  std::vector<Area> lanes;  ///< of the waveform
  std::vector<Area> panels; ///< of the spectrogram
  Area all;                 ///< both, over the time axis
  double gutter;            ///< left of them
  double rightSide;         ///< right of them
  double height;            ///< of the picture
};

void checkHeight(const PlotRequest& request, double needed)
{
  constexpr double kMostPixels = 16000.0;
  if (request.height && *request.height < needed) {
    throw UsageError("--size: a height of " + std::to_string(*request.height) +
                     " is too little for this picture, which needs " +
                     std::to_string(static_cast<int>(needed)));
  }
  if (!request.height && needed > kMostPixels) {
    throw UsageError("the picture would be " + std::to_string(static_cast<int>(needed)) +
                     " pixels high; --size says less, as in 1280x4000");
  }
}

void checkRoom(const PlotRequest& request, double width)
{
  constexpr double kLeastPixels = 100.0;
  if (width < kLeastPixels) {
    throw UsageError("--text-size leaves too little of a width of " +
                     std::to_string(request.width) + " pixels for the picture");
  }
}

static double laneHeight(int lanes, const PlotStyle& style)
{
  return style.times(lanes == 1 ? 14.0 : lanes == 2 ? 10.0 : lanes <= 6 ? 6.5 : 4.0);
}

static double panelHeight(int panels, const PlotStyle& style)
{
  return style.times(panels == 1 ? 22.0 : panels == 2 ? 15.0 : panels <= 6 ? 9.0 : 5.5);
}

/** Heights in whole pixels, as wanted or, where a height is given, in the same
 *  proportion. */
static SoundLayout layoutOf(const PlotRequest& request, const PlotCanvas& ruler,
                            const PlotStyle& style, int channels, double headerHeight)
{
  const bool hasLanes = request.view != PlotView::spectrogram;
  const bool hasPanels = request.view != PlotView::waveform;
  const int lanes = hasLanes ? channels : 0;
  const int panels = !hasPanels ? 0 : hasLanes ? 1 : channels;
  const double gap = std::min(style.times(0.5), 6.0);
  const double between = lanes > 0 && panels > 0 ? style.times(0.9) : 0.0;
  const double around = headerHeight + TimeAxis::heightFor(style) + style.times(0.5) + between +
                        gap * (std::max(lanes - 1, 0) + std::max(panels - 1, 0));
  const double wanted = lanes * laneHeight(lanes, style) + panels * panelHeight(panels, style);
  const double height = request.height.value_or(static_cast<int>(around + wanted));
  const double part = (height - around) / wanted;
  const double lane = wholePixels(laneHeight(lanes, style) * part);
  const double panel = wholePixels(panelHeight(panels, style) * part);
  checkHeight(request, request.height ? around + (lanes + panels) * kLeastLane * 2.0 : height);

  SoundLayout layout = {};
  layout.height = height;
  const AmplitudeScale scale = {1.0, request.isAmplitudeInDecibels};
  layout.gutter = style.margin() + std::max(amplitudeLabelRoom(ruler, style, scale),
                                            ruler.widthOf("20k", style.faint()) + style.times(0.8));
  layout.gutter = std::ceil(layout.gutter);
  layout.rightSide = panels > 0
                         ? style.times(2.0) + std::ceil(ruler.widthOf("\u2212100", style.faint())) +
                               style.times(0.9)
                         : style.margin();
  const double width = request.width - layout.gutter - layout.rightSide;
  checkRoom(request, width);
  double y = headerHeight;
  for (int i = 0; i < lanes; ++i) {
    layout.lanes.push_back({layout.gutter, y, width, lane});
    y += lane + gap;
  }
  y += lanes > 0 ? between - (panels > 0 ? gap : 0.0) : 0.0;
  for (int i = 0; i < panels; ++i) {
    layout.panels.push_back({layout.gutter, y, width, panel});
    y += panel + gap;
  }
  layout.all = {layout.gutter, headerHeight, width, y - gap - headerHeight};
  return layout;
}

/** All that is found in one pass through the sound. */
struct SoundFindings {
  std::optional<PlotEnvelope> envelope;
  std::vector<SpectrogramPanel> panels;
  LevelMeter levels;
};

static FrameSpan widened(FrameSpan span, FrameSpan extent, long long frames)
{
  return {std::max(span.from - frames, extent.from), std::min(span.to + frames, extent.to)};
}

static void measureWithin(LevelMeter& levels, FrameSpan span, const TovNLPArray<float>& samples,
                          int frames, long long first)
{
  const long long from = std::max(first, span.from);
  const long long to = std::min(first + frames, span.to);
  if (from < to) {
    TovNLPArray<float> inner;
    for (int c = 0; c < samples.getCount(); ++c) {
      inner.append(samples[c] + (from - first));
    }
    levels.measure(inner, static_cast<int>(to - from));
  }
}

static SoundFindings examine(const PlotRequest& request, PlotSound& sound, FrameSpan span,
                             const SoundLayout& layout, const FrequencyScale& scale)
{
  const int channels = sound.getChannels();
  const int columns = static_cast<int>(layout.all.width);
  SoundFindings findings = {std::nullopt, {}, LevelMeter(channels, EncFloat32, 32)};
  if (!layout.lanes.empty()) {
    findings.envelope.emplace(channels, span, columns, sound.getFullScale());
  }
  FrameSpan known = span;
  std::optional<PlotSpectrum> spectrum;
  if (!layout.panels.empty()) {
    const int window = request.window.value_or(windowForRate(sound.getRate(), span));
    const int panels = static_cast<int>(layout.panels.size());
    known = widened(span, sound.getExtent(), window);
    for (const Area& panel : layout.panels) {
      findings.panels.emplace_back(columns, static_cast<int>(panel.height), scale, sound.getRate(),
                                   window);
    }
    spectrum.emplace(SpectrumPlan{channels, panels, window, columns, span, known},
                     [&](int panel, int column, const std::vector<float>& powers) {
                       findings.panels[static_cast<std::size_t>(panel)].takeColumn(column, powers);
                     });
  }
  Progress progress(request.progressStyle(), known.length(), sound.getRate());
  sound.read(known, progress, [&](const TovNLPArray<float>& samples, int frames, long long first) {
    measureWithin(findings.levels, span, samples, frames, first);
    if (findings.envelope) {
      findings.envelope->take(samples, frames, first);
    }
    if (spectrum) {
      spectrum->take(samples, frames, first);
    }
  });
  if (spectrum) {
    spectrum->finish();
  }
  return findings;
}

/** "L" and "R", or numbers; nothing where there is one channel. */
static std::string channelName(int channel, int channels)
{
  if (channels == 1) {
    return std::string();
  }
  return channels == 2 ? (channel == 0 ? "L" : "R") : std::to_string(channel + 1);
}

static void drawChannelName(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                            const std::string& name, const Colour& behind)
{
  if (name.empty() || area.height < style.times(2.0)) {
    return;
  }
  const TextStyle text = style.faint();
  const double width = canvas.widthOf(name, text) + style.times(0.7);
  const double inset = style.times(0.35);
  canvas.fillRounded({area.x + inset, area.y + inset, width, style.times(1.4)}, style.times(0.3),
                     {behind.red, behind.green, behind.blue, 0.82});
  canvas.text(area.x + inset + width / 2.0, area.y + inset + style.times(0.7), Align::centre, name,
              text);
}

static void drawLanes(PlotCanvas& canvas, const PlotStyle& style, const SoundLayout& layout,
                      const TimeAxis& axis, const SoundFindings& findings,
                      const AmplitudeScale& scale)
{
  const PlotEnvelope& envelope = *findings.envelope;
  for (int c = 0; c < envelope.getChannels(); ++c) {
    const Area& lane = layout.lanes[static_cast<std::size_t>(c)];
    const WaveColumns columns = {envelope.getColumns(), envelope.framesPerColumn(),
                                 [&envelope, c](int column) { return envelope.at(c, column); }};
    canvas.fill(lane, style.theme.panel);
    axis.drawGrid(canvas, style, lane);
    canvas.fill({lane.x, std::round(lane.middle()), lane.width, style.line}, style.theme.zeroLine);
    drawWaveform(canvas, style, lane, columns, scale, style.theme.sound);
    drawClipMarks(canvas, style, lane, columns);
    drawAmplitudeLabels(canvas, style, lane, scale);
    drawChannelName(canvas, style, lane, channelName(c, envelope.getChannels()), style.theme.paper);
  }
}

static void drawPanels(PlotCanvas& canvas, const PlotStyle& style, const SoundLayout& layout,
                       SoundFindings& findings, const FrequencyScale& scale, double range)
{
  double highest = -200.0;
  for (const SpectrogramPanel& panel : findings.panels) {
    highest = std::max(highest, static_cast<double>(panel.getHighest()));
  }
  constexpr double kSteps = 5.0;
  const double top = highest <= -200.0 ? 0.0 : std::ceil(highest / kSteps) * kSteps;
  const int count = static_cast<int>(findings.panels.size());
  for (int i = 0; i < count; ++i) {
    const Area& area = layout.panels[static_cast<std::size_t>(i)];
    SpectrogramPanel& panel = findings.panels[static_cast<std::size_t>(i)];
    panel.colour(top - range, top);
    canvas.image(area, panel.getPixels());
    drawFrequencyLabels(canvas, style, area, scale);
    drawChannelName(canvas, style, area, count == 1 ? std::string() : channelName(i, count),
                    style.theme.paper);
  }
  const Area& first = layout.panels.front();
  const Area& last = layout.panels.back();
  const Area bar = {first.right() + style.times(0.8), first.y, style.times(0.9),
                    last.bottom() - first.y};
  drawColourBar(canvas, style, bar, top - range, top);
  canvas.text(layout.all.right() + layout.rightSide - style.times(0.5),
              bar.bottom() + style.times(1.4), Align::right, "dBFS", style.faint());
}

static AmplitudeScale scaleFor(const PlotRequest& request, const LevelMeter& levels)
{
  constexpr double kMostShown = 8.0;
  const double peak = std::min(static_cast<double>(levels.getHighestPeak()), kMostShown);
  return {peak > 1.0 ? peak * 1.04 : 1.0, request.isAmplitudeInDecibels};
}

PlotResult drawSoundPicture(const PlotRequest& request, PlotSound& sound, FrameSpan span,
                            PlotHeader header, double framesPerSecond, PlotOutput& output)
{
  const PlotStyle style(request);
  const PlotCanvas ruler(PictureFormat::png, 1, 1);
  PlotHeader widest = header;
  addLevelFacts(widest, nullptr, 0, kClipped);
  const SoundLayout layout = layoutOf(request, ruler, style, sound.getChannels(),
                                      heightOf(widest, ruler, style, request.width));
  const FrequencyScale frequencies =
      frequencyScaleFor(sound.getRate(), request.isFrequencyLogarithmic);
  SoundFindings findings = examine(request, sound, span, layout, frequencies);
  addLevelFacts(header, &findings.levels, findings.envelope ? findings.envelope->getClipped() : 0,
                kClipped);

  PlotCanvas canvas(request.format, request.width, static_cast<int>(layout.height));
  canvas.fill({0.0, 0.0, static_cast<double>(request.width), layout.height}, style.theme.paper);
  drawHeader(header, canvas, style, request.width);
  const double rate = sound.getRate();
  const TimeAxis axis(canvas, style, layout.all,
                      {static_cast<double>(span.from) / rate, static_cast<double>(span.to) / rate,
                       request.timeUnit, framesPerSecond});
  if (findings.envelope) {
    drawLanes(canvas, style, layout, axis, findings, scaleFor(request, findings.levels));
  }
  if (!findings.panels.empty()) {
    drawPanels(canvas, style, layout, findings, frequencies, request.decibelRange);
  }
  axis.drawLabels(canvas, style, layout.gutter - style.times(0.4));
  canvas.writeTo(output);
  return {
      sound.getRate(), sound.getChannels(), span, request.width, static_cast<int>(layout.height),
      findings.levels};
}
