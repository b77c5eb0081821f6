#include "app/PlotCanvas.h"

#include <cmath>
#include <exception>

#include "app/Cairo.h"
#include "app/Failures.h"
#include "app/SessionNames.h"

/** Receives a finished picture from the drawing library, which knows no
 *  exceptions. */
struct Receiver {
  PlotOutput* output = nullptr;
  std::exception_ptr failure;
};

extern "C" {
static cairo_status_t receive(void* closure, const unsigned char* data, unsigned int length)
{
  Receiver& receiver = *static_cast<Receiver*>(closure);
  try {
    receiver.output->write({reinterpret_cast<const char*>(data), length});
    return CAIRO_STATUS_SUCCESS;
  } catch (...) {
    receiver.failure = std::current_exception();
    return CAIRO_STATUS_WRITE_ERROR;
  }
}
}

/** Vector pictures are recorded first, since the receiver is known only when
 *  they are finished, and nothing may be written before. */
static cairo_surface_t* makeSurface(PictureFormat format, int width, int height)
{
  if (format == PictureFormat::png) {
    return cairo().image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  }
  const cairo_rectangle_t extent = {0.0, 0.0, static_cast<double>(width),
                                    static_cast<double>(height)};
  return cairo().recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, &extent);
}

struct PlotCanvas::Drawing {
  Drawing(PictureFormat pictureFormat, int pictureWidth, int pictureHeight)
      : format(pictureFormat), width(pictureWidth), height(pictureHeight),
        surface(makeSurface(format, width, height)), context(cairo().create(surface))
  {
  }
  ~Drawing()
  {
    cairo().destroy(context);
    cairo().surface_destroy(surface);
  }
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  void throwIfFailed(cairo_status_t status) const
  {
    if (status == CAIRO_STATUS_NO_MEMORY) {
      throw std::bad_alloc();
    }
    if (status != CAIRO_STATUS_SUCCESS) {
      throw Failure("plot", std::string("the picture could not be drawn: ") +
                                cairo().status_to_string(status));
    }
  }

  PictureFormat format;
  int width;
  int height;
  cairo_surface_t* surface;
  cairo_t* context;
};

PlotCanvas::PlotCanvas(PictureFormat format, int width, int height)
    : drawing(std::make_unique<Drawing>(format, width, height))
{
  // The same widths in every format, and without dependence on the screen's
  // own settings.
  cairo_font_options_t* const options = cairo().font_options_create();
  cairo().font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo().font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
  cairo().font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo().set_font_options(drawing->context, options);
  cairo().font_options_destroy(options);
  drawing->throwIfFailed(cairo().status(drawing->context));
}

PlotCanvas::~PlotCanvas() = default;

static void choose(cairo_t* context, const Colour& colour)
{
  cairo().set_source_rgba(context, colour.red, colour.green, colour.blue, colour.opacity);
}

static void trace(cairo_t* context, const Outline& outline)
{
  for (const auto& [x, y] : outline) {
    cairo().line_to(context, x, y);
  }
}

void PlotCanvas::fill(const Area& area, const Colour& colour)
{
  choose(drawing->context, colour);
  cairo().rectangle(drawing->context, area.x, area.y, area.width, area.height);
  cairo().fill(drawing->context);
}

void PlotCanvas::fillRounded(const Area& area, double radius, const Colour& colour)
{
  constexpr double kQuarter = 1.5707963267948966;
  cairo_t* const context = drawing->context;
  choose(context, colour);
  cairo().new_sub_path(context);
  cairo().arc(context, area.right() - radius, area.y + radius, radius, -kQuarter, 0.0);
  cairo().arc(context, area.right() - radius, area.bottom() - radius, radius, 0.0, kQuarter);
  cairo().arc(context, area.x + radius, area.bottom() - radius, radius, kQuarter, 2.0 * kQuarter);
  cairo().arc(context, area.x + radius, area.y + radius, radius, 2.0 * kQuarter, 3.0 * kQuarter);
  cairo().close_path(context);
  cairo().fill(context);
}

void PlotCanvas::fill(const Outline& outline, const Colour& colour)
{
  choose(drawing->context, colour);
  trace(drawing->context, outline);
  cairo().close_path(drawing->context);
  cairo().fill(drawing->context);
}

void PlotCanvas::stroke(const Outline& line, double thickness, const Colour& colour)
{
  choose(drawing->context, colour);
  cairo().set_line_width(drawing->context, thickness);
  cairo().set_line_join(drawing->context, CAIRO_LINE_JOIN_ROUND);
  trace(drawing->context, line);
  cairo().stroke(drawing->context);
}

void PlotCanvas::hatch(const Area& area, double distance, double thickness, const Colour& colour)
{
  clip(area);
  choose(drawing->context, colour);
  cairo().set_line_width(drawing->context, thickness);
  const int lines = static_cast<int>(std::ceil((area.width + area.height) / distance));
  for (int i = 0; i < lines; ++i) {
    const double x = area.x - area.height + i * distance;
    cairo().move_to(drawing->context, x, area.bottom());
    cairo().line_to(drawing->context, x + area.height, area.y);
  }
  cairo().stroke(drawing->context);
  unclip();
}

static void chooseFont(cairo_t* context, const TextStyle& style)
{
  cairo().select_font_face(context, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           style.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo().set_font_size(context, style.size);
}

double PlotCanvas::widthOf(const std::string& words, const TextStyle& style) const
{
  chooseFont(drawing->context, style);
  cairo_text_extents_t extents = {};
  cairo().text_extents(drawing->context, words.c_str(), &extents);
  return extents.x_advance;
}

void PlotCanvas::text(double x, double y, Align align, const std::string& words,
                      const TextStyle& style)
{
  if (words.empty()) {
    return;
  }
  constexpr double kCapitalHeight = 0.73; // of the size
  const double width = align == Align::left ? 0.0 : widthOf(words, style);
  chooseFont(drawing->context, style);
  choose(drawing->context, style.colour);
  cairo().move_to(drawing->context, x - (align == Align::centre ? width / 2.0 : width),
                  std::round(y + style.size * kCapitalHeight / 2.0));
  cairo().show_text(drawing->context, words.c_str());
}

static bool continuesCharacter(char byte)
{
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::string PlotCanvas::fitted(const std::string& words, double room, const TextStyle& style) const
{
  if (widthOf(words, style) <= room) {
    return words;
  }
  std::string shown = words;
  while (!shown.empty()) {
    while (shown.size() > 1 && continuesCharacter(shown.back())) {
      shown.pop_back();
    }
    shown.pop_back();
    while (!shown.empty() && shown.back() == ' ') {
      shown.pop_back();
    }
    if (!shown.empty() && widthOf(shown + "…", style) <= room) {
      return shown + "…";
    }
  }
  return shown;
}

void PlotCanvas::image(const Area& area, std::vector<std::uint32_t>& pixels)
{
  const int width = static_cast<int>(area.width);
  cairo_surface_t* const picture = cairo().image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_RGB24, width,
      static_cast<int>(area.height), width * 4);
  cairo().set_source_surface(drawing->context, picture, area.x, area.y);
  cairo().pattern_set_filter(cairo().get_source(drawing->context), CAIRO_FILTER_NEAREST);
  cairo().rectangle(drawing->context, area.x, area.y, area.width, area.height);
  cairo().fill(drawing->context);
  cairo().surface_destroy(picture);
}

void PlotCanvas::clip(const Area& area)
{
  cairo().save(drawing->context);
  cairo().rectangle(drawing->context, area.x, area.y, area.width, area.height);
  cairo().clip(drawing->context);
}

void PlotCanvas::unclip()
{
  cairo().restore(drawing->context);
}

/** Draws what was recorded once more, in the format wanted. */
static cairo_status_t writeVectors(cairo_surface_t* recorded, cairo_surface_t* target)
{
  if (cairo().surface_get_type(target) == CAIRO_SURFACE_TYPE_PDF) {
    // The same sound gives the same bytes on every day.
    cairo().pdf_surface_set_metadata(target, CAIRO_PDF_METADATA_CREATE_DATE, "");
  }
  if (cairo().surface_get_type(target) == CAIRO_SURFACE_TYPE_SVG) {
    cairo().svg_surface_set_document_unit(target, CAIRO_SVG_UNIT_PX);
  }
  cairo_t* const context = cairo().create(target);
  cairo().set_source_surface(context, recorded, 0.0, 0.0);
  cairo().paint(context);
  cairo_status_t status = cairo().status(context);
  cairo().destroy(context);
  cairo().surface_finish(target);
  if (status == CAIRO_STATUS_SUCCESS) {
    status = cairo().surface_status(target);
  }
  cairo().surface_destroy(target);
  return status;
}

void PlotCanvas::writeTo(PlotOutput& output)
{
  Receiver receiver = {&output, nullptr};
  const Drawing& d = *drawing;
  d.throwIfFailed(cairo().status(d.context));
  cairo_status_t status = CAIRO_STATUS_SUCCESS;
  switch (d.format) {
  case PictureFormat::png:
    cairo().surface_flush(d.surface);
    status = cairo().surface_write_to_png_stream(d.surface, receive, &receiver);
    break;
  case PictureFormat::svg:
    status = writeVectors(
        d.surface, cairo().svg_surface_create_for_stream(receive, &receiver, d.width, d.height));
    break;
  case PictureFormat::pdf:
    status = writeVectors(
        d.surface, cairo().pdf_surface_create_for_stream(receive, &receiver, d.width, d.height));
    break;
  }
  if (receiver.failure) {
    std::rethrow_exception(receiver.failure);
  }
  d.throwIfFailed(status);
}

/** Bytes that the character beginning here takes; 0 where none does. */
static std::size_t characterBytes(const std::string& text, std::size_t at)
{
  const unsigned char lead = static_cast<unsigned char>(text[at]);
  const std::size_t count = lead < 0x80   ? 1
                            : lead < 0xC2 ? 0
                            : lead < 0xE0 ? 2
                            : lead < 0xF0 ? 3
                            : lead < 0xF5 ? 4
                                          : 0;
  if (count == 0 || at + count > text.size()) {
    return 0;
  }
  for (std::size_t i = 1; i < count; ++i) {
    if (!continuesCharacter(text[at + i])) {
      return 0;
    }
  }
  const unsigned char second = count > 1 ? static_cast<unsigned char>(text[at + 1]) : 0;
  const bool isOverlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool isNoCharacter = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  return isOverlong || isNoCharacter ? 0 : count;
}

std::string drawable(const std::string& text)
{
  const std::string plain = withoutControlCharacters(text);
  std::string valid;
  for (std::size_t at = 0; at < plain.size();) {
    const std::size_t count = characterBytes(plain, at);
    valid += count == 0 ? "\uFFFD" : plain.substr(at, count);
    at += count == 0 ? 1 : count;
  }
  return valid;
}
