# cmake -D SOURCE=TREE -D FILE=OUTPUT -P build_date.cmake
#
# Writes a source file with the date that the library calls its own: that of the sources, so that
# two builds of a commit give the same bytes.

cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${SOURCE}/tools/dev/source_date.sh
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(ENV{SOURCE_DATE_EPOCH} ${epoch})
string(TIMESTAMP date "%b %d %Y" UTC)
string(REPLACE " 0" "  " date "${date}")

file(CONFIGURE OUTPUT ${FILE} @ONLY CONTENT
"#include \"manager/build_date.h\"

const char nuv::build_date[] = \"@date@\";
")
