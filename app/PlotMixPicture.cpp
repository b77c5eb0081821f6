#include "app/PlotMixPicture.h"

#include "app/PlotFacts.h"
#include "app/PlotLane.h"
#include "app/PlotSoundPicture.h"
#include "app/PlotTrackLane.h"
#include "app/PlotWaveform.h"
#include "app/ScriptFile.h"

static constexpr const char* kClipped = "above full scale";
static constexpr double kLeastLane = 6.0; // pixels
static constexpr int kSumLanes = 2;

/** Where everything lies. */
struct MixLayout {
  std::vector<Area> lanes; ///< of the tracks
  std::vector<Area> sum;
  Area all;        ///< lanes and sum, over the time axis
  double textLeft; ///< of the texts left of the lanes
  double textRoom;
  double height;
};

static double trackHeight(int tracks, const PlotStyle& style)
{
  return style.times(tracks <= 8 ? 4.9 : tracks <= 16 ? 4.0 : 3.2);
}

static MixLayout layoutOf(const PlotRequest& request, const PlotCanvas& ruler,
                          const PlotStyle& style, int tracks, double headerHeight)
{
  const double gap = std::min(style.times(0.3), 5.0);
  const double between = style.times(0.9);
  const double around = headerHeight + TimeAxis::heightFor(style) + style.times(0.5) + between +
                        gap * (tracks + kSumLanes - 2);
  const double trackWanted = trackHeight(tracks, style);
  const double sumWanted = style.times(6.0);
  const double wanted = tracks * trackWanted + kSumLanes * sumWanted;
  const double height = request.height.value_or(static_cast<int>(around + wanted));
  const double part = (height - around) / wanted;
  checkHeight(request, request.height ? around + (tracks + 2.0 * kSumLanes) * kLeastLane : height);

  MixLayout layout = {};
  layout.height = height;
  layout.textLeft = style.margin();
  layout.textRoom =
      std::round(std::clamp(request.width * 0.17, style.text * 8.0, style.text * 15.5));
  const double labels = amplitudeLabelRoom(ruler, style, {1.0, request.isAmplitudeInDecibels});
  const double left = layout.textLeft + std::max(layout.textRoom + style.times(1.0),
                                                 std::ceil(labels + style.text * 4.0));
  const double width = request.width - left - style.margin();
  checkRoom(request, width);
  double y = headerHeight;
  for (int i = 0; i < tracks; ++i) {
    layout.lanes.push_back({left, y, width, wholePixels(trackWanted * part)});
    y = layout.lanes.back().bottom() + gap;
  }
  y += between - gap;
  for (int i = 0; i < kSumLanes; ++i) {
    layout.sum.push_back({left, y, width, wholePixels(sumWanted * part)});
    y = layout.sum.back().bottom() + gap;
  }
  layout.all = {left, headerHeight, width, y - gap - headerHeight};
  return layout;
}

/** The sum and its levels. */
struct SumFindings {
  PlotEnvelope envelope;
  LevelMeter levels;
};

static SumFindings examineSum(MixGraph& graph, FrameSpan span, int columns, Progress& progress)
{
  MixSound sound(graph);
  SumFindings findings = {PlotEnvelope(kSumLanes, span, columns, sound.getFullScale()),
                          LevelMeter(kSumLanes, EncFloat32, 32)};
  sound.read(span, progress, [&](const TovNLPArray<float>& samples, int frames, long long first) {
    findings.levels.measure(samples, frames);
    findings.envelope.take(samples, frames, first);
  });
  return findings;
}

static long long framesToRead(const MixGraph& graph, FrameSpan span, const TimeColumns& columns)
{
  long long frames = span.length();
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    frames += seenFrames(graph.getTrack(i), graph.getPlan(i), columns).length();
  }
  return frames;
}

static std::vector<TrackLane> examineTracks(const MixGraph& graph, const TimeColumns& columns,
                                            const PlotStyle& style, Progress& progress)
{
  std::vector<TrackLane> lanes;
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    const bool isHeard = graph.isHeard(i);
    lanes.push_back(
        {{graph.getTrack(i), graph.getPlan(i), isHeard},
         columnsOfTrack(graph.getTrack(i), graph.getPlan(i), columns, progress),
         (columns.to - columns.from) / columns.count * graph.getTrack(i).settings.playRate,
         isHeard ? coloursOfTrack(i, style.isDark) : style.theme.unheard});
  }
  return lanes;
}

/** That of the loudest track, so that all fill their lanes in proportion. */
static double loudestOf(const std::vector<TrackLane>& lanes)
{
  float loudest = 0.0f;
  for (const TrackLane& lane : lanes) {
    for (const EnvelopeColumn& column : lane.columns) {
      loudest = std::max({loudest, column.highest, -column.lowest});
    }
  }
  constexpr double kMostShown = 8.0;
  return loudest > 0.0f ? std::min(static_cast<double>(loudest), kMostShown) * 1.04 : 1.0;
}

/** How far the sum goes above full scale, beside its highest peak. */
static void drawPeakLabel(PlotCanvas& canvas, const PlotStyle& style, const Area& lane,
                          const WaveColumns& columns)
{
  int highest = 0;
  double peak = 1.0;
  for (int i = 0; i < columns.count; ++i) {
    const EnvelopeColumn column = columns.at(i);
    const double magnitude = static_cast<double>(std::max(column.highest, -column.lowest));
    if (magnitude > peak) {
      peak = magnitude;
      highest = i;
    }
  }
  if (peak <= 1.0 || lane.height < style.times(3.4)) {
    return;
  }
  const TextStyle text = {style.text * 0.92, style.theme.alarm, true};
  const std::string words = std::string("+").append(levelText(decibelsOfFullScale(peak)));
  const double width = canvas.widthOf(words, text) + style.times(0.8);
  const double x = lane.x + lane.width * (highest + 0.5) / columns.count;
  const bool isRight = x + width + style.times(0.5) < lane.right();
  const Area box = {isRight ? x + style.times(0.4) : x - style.times(0.4) - width,
                    lane.y + style.times(0.2), width, style.times(1.4)};
  const Colour& paper = style.theme.paper;
  canvas.fillRounded(box, style.times(0.25), {paper.red, paper.green, paper.blue, 0.85});
  canvas.text(box.x + width / 2.0, box.middle(), Align::centre, words, text);
}

static void drawSumLane(PlotCanvas& canvas, const PlotStyle& style, const Area& lane,
                        const TimeAxis& axis, const WaveColumns& columns,
                        const AmplitudeScale& scale)
{
  canvas.fill(lane, style.theme.panel);
  axis.drawGrid(canvas, style, lane);
  canvas.fill({lane.x, std::round(lane.middle()), lane.width, style.line}, style.theme.zeroLine);
  drawWaveform(canvas, style, lane, columns, scale, style.theme.sound);
  if (scale.top > 1.0) {
    const Colour& alarm = style.theme.alarm;
    for (const double sample : {1.0, -1.0}) {
      const double y = lane.middle() - scale.heightOf(sample) * lane.height / 2.0;
      canvas.fill({lane.x, std::round(y), lane.width, style.line},
                  {alarm.red, alarm.green, alarm.blue, 0.45});
    }
    drawClipMarks(canvas, style, lane, columns);
    drawPeakLabel(canvas, style, lane, columns);
  }
  drawAmplitudeLabels(canvas, style, lane, scale);
}

static void drawSum(PlotCanvas& canvas, const PlotStyle& style, const MixLayout& layout,
                    const TimeAxis& axis, const SumFindings& sum, bool isInDecibels)
{
  constexpr double kMostShown = 8.0;
  const double peak = std::min(static_cast<double>(sum.levels.getHighestPeak()), kMostShown);
  const AmplitudeScale scale = {peak > 1.0 ? peak * 1.08 : 1.0, isInDecibels};
  for (int c = 0; c < kSumLanes; ++c) {
    const Area& lane = layout.sum[static_cast<std::size_t>(c)];
    drawSumLane(canvas, style, lane, axis,
                {sum.envelope.getColumns(), sum.envelope.framesPerColumn(),
                 [&sum, c](int column) { return sum.envelope.at(c, column); }},
                scale);
    if (lane.height >= style.times(1.3)) {
      canvas.text(layout.textLeft, lane.middle(), Align::left, c == 0 ? "Sum L" : "Sum R",
                  style.bold());
    }
  }
}

std::string titleOfMix(const MixRequest& request)
{
  const bool isOne = request.tracks.size() == 1;
  return isOne ? titleOfFile(request.tracks.front().file) : std::string("Mix");
}

std::vector<std::string> factsOfMix(const MixGraph& graph, const MixContents& contents,
                                    FrameSpan span)
{
  const int tracks = graph.getTrackCount();
  std::vector<std::string> facts = {std::to_string(tracks) + (tracks == 1 ? " track" : " tracks"),
                                    rateText(graph.getRate()),
                                    lengthFact(span, {0, graph.getEndFrame()}, graph.getRate())};
  const double master = decibelsOfFactor(contents.masterGain);
  if (master < 0.0 || master > 0.0) {
    char text[48];
    (void)std::snprintf(text, sizeof text, "%.1f dB", std::fabs(master));
    facts.push_back(std::string("master ") + (master < 0.0 ? "\u2212" : "+") + text);
  }
  return facts;
}

PlotResult drawMixPicture(const PlotRequest& request, MixGraph& graph, FrameSpan span,
                          PlotHeader header, double framesPerSecond, PlotOutput& output)
{
  const PlotStyle style(request);
  const PlotCanvas ruler(PictureFormat::png, 1, 1);
  PlotHeader widest = header;
  addLevelFacts(widest, nullptr, 0, kClipped);
  const MixLayout layout = layoutOf(request, ruler, style, graph.getTrackCount(),
                                    heightOf(widest, ruler, style, request.width));
  const double rate = graph.getRate();
  const TimeColumns columns = {static_cast<double>(span.from) / rate,
                               static_cast<double>(span.to) / rate,
                               static_cast<int>(layout.all.width)};
  Progress progress(request.progressStyle(), framesToRead(graph, span, columns), graph.getRate());
  const std::vector<TrackLane> lanes = examineTracks(graph, columns, style, progress);
  const SumFindings sum = examineSum(graph, span, columns.count, progress);
  addLevelFacts(header, &sum.levels, sum.envelope.getClipped(), kClipped);

  PlotCanvas canvas(request.format, request.width, static_cast<int>(layout.height));
  canvas.fill({0.0, 0.0, static_cast<double>(request.width), layout.height}, style.theme.paper);
  drawHeader(header, canvas, style, request.width);
  const TimeAxis axis(canvas, style, layout.all,
                      {columns.from, columns.to, request.timeUnit, framesPerSecond});
  const AmplitudeScale scale = {loudestOf(lanes), request.isAmplitudeInDecibels};
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    const Area& area = layout.lanes[i];
    drawTrackLane(canvas, style, area, axis, lanes[i], scale);
    drawTrackText(canvas, style, {layout.textLeft, area.y, layout.textRoom, area.height}, lanes[i]);
  }
  drawSum(canvas, style, layout, axis, sum, request.isAmplitudeInDecibels);
  axis.drawLabels(canvas, style, layout.all.x - layout.textLeft);
  canvas.writeTo(output);
  return {graph.getRate(), kSumLanes, span, request.width, static_cast<int>(layout.height),
          sum.levels};
}
