# Assembles the report's page and writes it as a C++ source file. The page's security policy names style and
# script by their digests, so that a browser runs nothing else.
#   cmake -DFOLDER=... -DOUT=... -P embed.cmake
set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)

function(digest text out)
  string(SHA256 hex "${text}")
  string(APPEND hex 00)  # three bytes make four letters, and the last byte is missing
  set(base64 "")
  foreach(at RANGE 0 60 6)
    string(SUBSTRING ${hex} ${at} 6 three)
    foreach(shift 18 12 6 0)
      math(EXPR letter "(0x${three} >> ${shift}) & 63")
      string(SUBSTRING ${alphabet} ${letter} 1 letter)
      string(APPEND base64 ${letter})
    endforeach()
  endforeach()
  string(REGEX REPLACE "A$" "=" base64 ${base64})
  set(${out} ${base64} PARENT_SCOPE)
endfunction()

file(READ ${FOLDER}/report.html page)
file(READ ${FOLDER}/report.css style)
file(READ ${FOLDER}/report.js script)
digest("${style}" style_hash)
digest("${script}" script_hash)
string(REPLACE @STYLE_HASH@ "${style_hash}" page "${page}")
string(REPLACE @SCRIPT_HASH@ "${script_hash}" page "${page}")
string(REPLACE @STYLE@ "${style}" page "${page}")
string(REPLACE @SCRIPT@ "${script}" page "${page}")
string(FIND "${page}" @DATA@ at)
string(SUBSTRING "${page}" 0 ${at} head)
math(EXPR at "${at} + 6")
string(SUBSTRING "${page}" ${at} -1 tail)
file(WRITE ${OUT} "#include \"ReportPage.h\"

namespace vantra::inspect {

const std::string_view kReportHead = R\"PAGE(${head})PAGE\";
const std::string_view kReportTail = R\"PAGE(${tail})PAGE\";

}  // namespace vantra::inspect
")
