// Text for XML.

#include "bench.h"

#include <absl/strings/str_replace.h>
#include <glib.h>
#include <libxml/entities.h>
#include <qiv/xml.h>

namespace {

void addEscape(const std::string& input, const std::string& sentence, std::size_t size,
               double target) {
  std::string text;
  while (text.size() < size)
    text += sentence;
  text.resize(size);
  bench::Row("escapeXml " + input, target, [=] { return Qiv::XmlHelper::escapeXml(text); })
      .peer(
          "abseil",
          [=] {
            return absl::StrReplaceAll(
                text,
                {{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&apos;"}});
          })
      .peer("libxml2",
            [=] {
              xmlFree(
                  xmlEncodeSpecialChars(nullptr, reinterpret_cast<const xmlChar*>(text.c_str())));
            })
      .peer("GLib",
            [=] { g_free(g_markup_escape_text(text.data(), static_cast<gssize>(text.size()))); })
      .limit("memcpy", [=] { return text; });
}

} // namespace

void bench::addXml() {
  const std::string clean = "The interface eth0 has no address, the default route goes by eth1. ";
  const std::string markup =
      "<a href=\"page.html\" title='Tom & Jerry'>the next page</a> and more ";
  addEscape("100 B, clean", clean, 100, 0.4);
  addEscape("4 KiB, clean", clean, 4096, 1);
  addEscape("4 KiB, with markup", markup, 4096, 0.4);
}
