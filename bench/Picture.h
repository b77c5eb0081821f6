#pragma once

#include <string>
#include <vector>

/** One line of a diagram. */
struct Curve {
  std::string name;
  std::vector<double> x;
  std::vector<double> y;
};

/** Curves over logarithmic axes, all of the same x; with names, x counts them
 *  instead. */
struct Diagram {
  std::string title;
  std::string xLabel;
  std::string yLabel;
  std::vector<Curve> curves;
  std::vector<std::string> xNames;
};

/** Writes it as SVG. */
void writeDiagram(const Diagram& diagram, const std::string& path);
