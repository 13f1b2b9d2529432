#include "src/report/report_page.h"

#include "src/report/html_text.h"
#include "src/report/report_sections.h"
#include "src/report/report_style.h"

namespace segmask {

std::string reportPage(const RenderSummary& summary, const RunReport& report, const ReportFacts& facts) {
  const std::string title = htmlText(reportTitle(facts));
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
         "style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         title + " · segmask report</title>\n<style>" + kReportStyle + "</style>\n</head>\n<body>\n" +
         reportHead(summary, facts) + "<main>\n" + figuresSection(summary, facts) +
         framesSection(summary, report) + detectionsSection(summary, report, facts) +
         timesSection(summary, report) + classesSection(summary, report) + producersSection(summary, report) +
         configurationSection(facts) + filesSection(facts) + commandLineSection(facts) +
         "</main>\n<footer>One file: it fetches nothing and runs no script.</footer>\n</body>\n</html>\n";
}

}  // namespace segmask
