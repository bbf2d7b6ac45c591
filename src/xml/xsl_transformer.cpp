#include "qiv/files.h"
#include "qiv/xml.h"

#include "internal/checked_text.h"

#include <cstdio>
#include <libxml/parser.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>
#include <memory>

namespace Qiv {

namespace {

using Stylesheet = std::unique_ptr<xsltStylesheet, decltype(&xsltFreeStylesheet)>;
using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

} // namespace

XslTransformer::XslTransformer(const char* xmlFile, const char* xslFile, const char* outFile)
    : xmlFile(xmlFile), xslFile(xslFile), outFile(outFile) {}

XslTransformer::~XslTransformer() {
  clearParams();
  xsltCleanupGlobals();
  xmlCleanupParser();
}

void XslTransformer::setInFiles(const char* xmlFile, const char* xslFile) {
  this->xmlFile = xmlFile;
  this->xslFile = xslFile;
}

void XslTransformer::setOutFile(const char* outFile) {
  this->outFile = outFile;
}

void XslTransformer::setParams(const std::map<const char*, const char*>& params) {
  this->params = params;
}

void XslTransformer::clearParams() {
  params.clear();
}

int XslTransformer::transform() {
  const std::string outName = internal::checkedText(outFile);
  const Stylesheet style(xsltParseStylesheetFile(reinterpret_cast<const xmlChar*>(xslFile)),
                         &xsltFreeStylesheet);
  const Document input(xmlParseFile(xmlFile), &xmlFreeDoc);
  Document result(nullptr, &xmlFreeDoc);
  if (style && input)
    result.reset(xsltApplyStylesheet(style.get(), input.get(), nullptr));
  // Not before: the output may be one of the files that have been read.
  FILE* const output = openCOutputFileUTF8Name(outName);
  if (!output)
    return EOF;
  xsltSaveResultToFile(output, result.get(), style.get()); // nothing without a result
  const bool lost = std::ferror(output); // libxml2 flushes, so that fclose has nothing left to miss
  return std::fclose(output) != 0 || lost ? EOF : 0;
}

} // namespace Qiv
