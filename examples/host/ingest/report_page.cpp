#include "examples/host/ingest/report_page.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "examples/host/ingest/report_chart.h"
#include "examples/host/ingest/status_text.h"
#include "examples/host/ingest/utc_text.h"
#include "examples/host/markup.h"

namespace host::ingest {
namespace {

constexpr std::string_view kStyle = R"(
:root{color-scheme:light dark;--ink:#1b1f24;--soft:#5b6570;--line:#dfe3e8;--back:#f6f7f9;--card:#fff;
--good:#1a7f4b;--goodback:#e4f5ec;--bad:#b3261e;--badback:#fdecea;--area:#2f6fdb}
@media (prefers-color-scheme:dark){:root{--ink:#e6e9ed;--soft:#9aa4af;--line:#323940;--back:#14171a;
--card:#1d2125;--good:#5fd399;--goodback:#163226;--bad:#ff8a80;--badback:#3d1d1b;--area:#6ea0ff}}
*{box-sizing:border-box}
body{margin:0;background:var(--back);color:var(--ink);font:15px/1.5 "Segoe UI",system-ui,sans-serif}
main{max-width:60rem;margin:0 auto;padding:2.5rem 1.5rem}
h1{font-size:1.8rem;line-height:1.2;margin:0 0 .25rem;overflow-wrap:anywhere}
h2{font-size:1.05rem;margin:0 0 .75rem}
.soft{color:var(--soft)}
.verdict{display:inline-block;margin:1rem 0 1.5rem;padding:.35rem .9rem;border-radius:2rem;font-weight:600}
.good{color:var(--good)}.verdict.good{background:var(--goodback)}
.bad{color:var(--bad)}.verdict.bad{background:var(--badback)}
section{background:var(--card);border:1px solid var(--line);border-radius:.75rem;padding:1.25rem 1.5rem;
margin:0 0 1rem;break-inside:avoid}
section.problems{border-color:var(--bad)}
dl.facts{display:flex;flex-wrap:wrap;gap:1rem 2.5rem;margin:0}
dt{color:var(--soft);font-size:.85rem}dd{margin:0;font-weight:600;overflow-wrap:anywhere}
.path{font-family:Consolas,"DejaVu Sans Mono",monospace;font-size:.9em;overflow-wrap:anywhere}
ul{margin:0;padding:0;list-style:none}li{padding:.5rem 0;border-top:1px solid var(--line)}
li:first-child{border-top:0;padding-top:0}li:last-child{padding-bottom:0}
.head{display:flex;justify-content:space-between;gap:1rem;align-items:baseline}
svg{display:block;width:100%;height:auto;margin-top:1rem}
svg text{fill:var(--soft);font:11px "Segoe UI",system-ui,sans-serif}
.grid{stroke:var(--line)}.area{fill:var(--area);fill-opacity:.25;stroke:var(--area);stroke-width:1.5;
stroke-linejoin:round}
summary{cursor:pointer;font-weight:600}
table{width:100%;border-collapse:collapse;margin-top:1rem;font-size:.85rem}
th{text-align:left;color:var(--soft);font-weight:400}th,td{padding:.3rem .75rem .3rem 0;
border-bottom:1px solid var(--line);vertical-align:top}
.number{text-align:right;white-space:nowrap}
.hash{font-family:Consolas,"DejaVu Sans Mono",monospace;font-size:.9em;color:var(--soft);white-space:nowrap}
@media print{:root{--ink:#000;--soft:#444;--line:#bbb;--back:#fff;--card:#fff;--good:#0a5c33;--bad:#9c1c14;
--goodback:#fff;--badback:#fff;--area:#2f6fdb}
body{font-size:10pt}main{max-width:none;padding:0}section{border-radius:0;padding:.75rem 1rem}
.verdict{border:1px solid currentColor}.hash{white-space:normal;overflow-wrap:anywhere}}
)";

std::string path_span(std::string_view path) {
  return "<span class=\"path\">" + escaped(path) + "</span>";
}

std::string counted(std::uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string name_of(const std::string& path) {
  return path.substr(path.rfind('\\') + 1);
}

bool is_whole(const DestinationRecord& destination, const RunRecord& record) {
  return destination.ended.empty() &&
         destination.files + destination.already_there == record.files.size();
}

bool is_all_well(const RunRecord& record) {
  return !record.is_stopped && record.problems.empty() &&
         std::all_of(record.destinations.begin(), record.destinations.end(),
                     [&](const DestinationRecord& to) { return is_whole(to, record); });
}

std::string verdict(const RunRecord& record) {
  if (is_all_well(record)) {
    return std::string("<p class=\"verdict good\">Everything is there") +
           (record.is_verified ? " and was read back the same" : "") + "</p>\n";
  }
  return std::string("<p class=\"verdict bad\">") +
         (record.is_stopped ? "Stopped before the end" : "Not everything is there") + "</p>\n";
}

std::string problems(const RunRecord& record) {
  std::string items;
  for (const DestinationRecord& destination : record.destinations) {
    if (!destination.ended.empty()) {
      items += "<li>" + path_span(destination.folder) + "<br><span class=\"bad\">" +
               escaped(destination.ended) + "</span></li>\n";
    }
  }
  for (const Problem& problem : record.problems) {
    items += "<li>" + path_span(problem.what) + "<br><span class=\"bad\">" +
             escaped(problem.reason) + "</span></li>\n";
  }
  return items.empty() ? items
                       : "<section class=\"problems\"><h2>What went wrong</h2>\n<ul>\n" + items +
                             "</ul></section>\n";
}

std::string fact(const char* name, const std::string& value) {
  return std::string("<div><dt>") + name + "</dt><dd>" + value + "</dd></div>\n";
}

std::string facts(const RunRecord& record) {
  return "<section><dl class=\"facts\">\n" + fact("Started", plain_time(record.started) + " UTC") +
         fact("Took", duration_text(record.seconds)) + fact("Size", size_text(record.bytes)) +
         fact("Files", std::to_string(record.files.size())) +
         fact("Directories", std::to_string(record.directories)) +
         fact("Read back", record.is_verified ? "yes" : "no") + "</dl></section>\n";
}

std::string destination_section(const DestinationRecord& destination, const RunRecord& record) {
  const bool is_good = is_whole(destination, record);
  std::string text = "<section><div class=\"head\"><h2>" + path_span(destination.tree) +
                     "</h2><strong class=\"" + (is_good ? "good\">complete" : "bad\">incomplete") +
                     "</strong></div>\n<p class=\"soft\" style=\"margin:0\">" +
                     counted(destination.files, "file", "files") + ", " +
                     size_text(destination.bytes) + " written";
  if (destination.already_there > 0) {
    text += "; " + counted(destination.already_there, "file was", "files were") + " there before";
  }
  if (record.seconds > 0 && destination.bytes > 0) {
    text += "; " +
            size_text(static_cast<std::uint64_t>(static_cast<double>(destination.bytes) /
                                                 record.seconds)) +
            " a second";
  }
  text += "</p>\n";
  if (!destination.manifest.empty()) {
    text += "<p class=\"soft\" style=\"margin:0\">Manifest " + path_span(destination.manifest) +
            "</p>\n";
  }
  return text + throughput_chart(destination.samples, record.seconds) + "</section>\n";
}

std::string links(const RunRecord& record) {
  if (record.links.empty()) {
    return {};
  }
  std::string text = "<section><details><summary>" +
                     counted(record.links.size(), "link that was", "links that were") +
                     " not followed</summary>\n<ul>\n";
  for (const std::string& link : record.links) {
    text += "<li>" + path_span(link) + "</li>\n";
  }
  return text + "</ul></details></section>\n";
}

std::string file_table(const RunRecord& record) {
  std::string text = "<section style=\"break-inside:auto\"><details><summary>" +
                     counted(record.files.size(), "file", "files") +
                     " with hashes</summary>\n<table><thead><tr><th>File</th><th class=\"number\">"
                     "Bytes</th><th>XXH64</th><th>MD5</th></tr></thead><tbody>\n";
  for (const FileRecord& file : record.files) {
    text += "<tr><td>" + path_span(file.path) + "</td><td class=\"number\">" +
            std::to_string(file.size) + "</td>";
    text += file.hashes ? "<td class=\"hash\">" + hex(file.hashes->xxh64) +
                              "</td><td class=\"hash\">" + hex(file.hashes->md5) + "</td></tr>\n"
                        : "<td colspan=\"2\" class=\"bad\">not copied</td></tr>\n";
  }
  return text + "</tbody></table></details></section>\n";
}

}  // namespace

std::string report_page(const RunRecord& record) {
  const std::string name = escaped(name_of(record.card));
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n<title>Ingest of " +
      name + "</title>\n<style>";
  page += kStyle;
  page += "</style></head><body><main>\n<h1>" + name + "</h1>\n<div class=\"soft\">" +
          path_span(record.card) + " to " +
          counted(record.destinations.size(), "destination", "destinations") + "</div>\n" +
          verdict(record) + problems(record) + facts(record);
  for (const DestinationRecord& destination : record.destinations) {
    page += destination_section(destination, record);
  }
  return page + links(record) + file_table(record) + "</main></body></html>\n";
}

}  // namespace host::ingest
