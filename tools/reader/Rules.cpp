#include "reader/Rules.h"

#include <cstddef>
#include <iterator>

namespace vantra::reader {
namespace {

constexpr RuleText kRules[] = {
    {"prologue", "not the prologue of this format, byte by byte"},
    {"doctype", "a document type declaration"},
    {"foreign", "text or XML that is no part of this format"},
    {"attributes",
     "an attribute is missing, unknown or out of order, or the record does not end as it should"},
    {"escaping", "free text that is empty, or has a character in it that should have been escaped"},
    {"nul", "a NUL byte, which XML does not allow and the library never writes"},
    {"identifier", "not an identifier of 36 characters in lower case"},
    {"time", "not a time in UTC like 2011-03-04T05:06:07Z"},
    {"number", "not a decimal number of 32 bits"},
    {"doc", "not a document id: 0, 32 hexadecimal digits, NOVALUE or nothing"},
    {"too-long", "a record of more than 64 KiB, passed over"},
    {"cut", "the file ends within a record"},
    {"control", "a host's text holds a control character, which XML does not allow"},
    {"utf-8", "a host's text holds bytes that are no UTF-8, or was cut inside a character"},
    {"no-character", "a host's text holds U+FFFE or U+FFFF, which XML does not allow"},
    {"raw-markup", "a product text with &, < or \" in it stands unescaped in ResumeSession"},
    {"no-prologue", "no prologue: the Logs folder was made after the session had started"},
    {"opening", "the first record is no StartSession or ResumeSession, or such a record comes later"},
    {"after-end", "text after the end of the document"},
    {"split-after-end", "a SplitSession and a second end tag: EndSession had filled the document"},
    {"no-end-tag", "EndSession or SplitSession without the end tag, or an end tag without them"},
    {"open", "no end: the session is being recorded, or its host ended without closing it"},
    {"gap", "the number is not the one that follows: records are missing, or stand twice"},
    {"time-back", "the time is before that of the record before it"},
    {"group", "a group that was never opened, or a group number that is not the next one"},
    {"session", "another session identifier than that of the documents or of the file name"},
    {"name", "the file's ending does not fit what is in it"},
};
static_assert(std::size(kRules) == static_cast<size_t>(Rule::Name) + 1);

}  // namespace

RuleText TextOf(Rule rule) noexcept { return kRules[static_cast<size_t>(rule)]; }

}  // namespace vantra::reader
