# The library does not print, open files, send or end the program: it does not even refer to functions that could. It
# does not throw or take a lock either, because both may need memory when there is no memory left.

execute_process(COMMAND ${READELF} --dyn-syms --wide ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " UND [^@ \n]+" imports "${symbols}")
if(NOT imports)
    message(FATAL_ERROR "no imports found in\n${symbols}")
endif()
list(TRANSFORM imports REPLACE "^ UND _*" "")

list(FILTER imports INCLUDE REGEX
    "^(f?open|f?close|f?read|f?write|printf|[a-z]*printf_chk|puts|putchar|perror|fput[cs]|socket|send|recv|getenv|\
cxa_(allocate_exception|throw|rethrow|begin_catch|guard_acquire)|Zn[aw].*|ZSt[0-9]+__throw_.*|\
abort|exit|_?Exit|quick_exit|assert_fail|raise|kill|signal|system|exec[a-z]*|fork|pthread_create|syslog|\
ZSt(4cout|4cerr|3cin|9terminatev)|ZNSt8ios_base.*|ZNSo.*|ZSt16__ostream_insert.*|\
ZNSt(13basic_filebuf|14basic_[io]fstream|13basic_fstream|6thread).*)$")
if(imports)
    message(FATAL_ERROR "the library refers to: ${imports}")
endif()
