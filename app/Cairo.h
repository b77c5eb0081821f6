#pragma once

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

// clang-format off
#define TOV_CAIRO_FUNCTIONS(X)                                                                     \
  X(arc) X(clip) X(close_path) X(create) X(destroy) X(fill) X(font_options_create)                 \
  X(font_options_destroy) X(font_options_set_antialias) X(font_options_set_hint_metrics)           \
  X(font_options_set_hint_style) X(get_source) X(image_surface_create)                             \
  X(image_surface_create_for_data) X(line_to) X(move_to) X(new_sub_path) X(paint)                  \
  X(pattern_set_filter) X(pdf_surface_create_for_stream) X(pdf_surface_set_metadata)               \
  X(recording_surface_create) X(rectangle) X(restore) X(save) X(select_font_face)                  \
  X(set_font_options) X(set_font_size) X(set_line_join) X(set_line_width) X(set_source_rgba)       \
  X(set_source_surface) X(show_text) X(status) X(status_to_string) X(stroke) X(surface_destroy)    \
  X(surface_finish) X(surface_flush) X(surface_get_type) X(surface_status)                         \
  X(surface_write_to_png_stream) X(svg_surface_create_for_stream)                                  \
  X(svg_surface_set_document_unit) X(text_extents)
// clang-format on

/** The functions of cairo that pictures take, by their names without
 *  "cairo_". */
struct Cairo {
#define TOV_MEMBER(name)                                                                           \
  decltype(&cairo_##name) name; // NOLINT(bugprone-macro-parentheses): declares it
  TOV_CAIRO_FUNCTIONS(TOV_MEMBER)
#undef TOV_MEMBER
};

/** Loads cairo at the first call.  Throws Failure where it is not there. */
const Cairo& cairo();
