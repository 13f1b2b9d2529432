#include "src/report/report_html.h"

#include "src/report/html_text.h"

namespace segmask {

std::string nameHtml(const std::string& text) {
  return "<bdi>" + htmlText(text) + "</bdi>";
}

std::string sectionHtml(const std::string& id, const std::string& heading, const std::string& content) {
  return "<section aria-labelledby=\"" + id + "\">\n<h2 id=\"" + id + "\">" + heading + "</h2>\n" + content +
         "</section>\n";
}

std::string noteHtml(const std::string& html) {
  return "<p class=\"note\">" + html + "</p>\n";
}

std::string scrollingHtml(const std::string& label, const std::string& table) {
  return R"(<div class="scroll" role="region" tabindex="0" aria-label=")" + label + "\">\n" + table +
         "</div>\n";
}

std::string numberCell(const std::string& html) {
  return "<td class=\"number\">" + html + "</td>";
}

std::string numberHead(const std::string& html) {
  return R"(<th scope="col" class="number">)" + html + "</th>";
}

}  // namespace segmask
