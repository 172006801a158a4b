# Runs mkconfig as a build would: usage errors, a clean compile, a file with bad lines, a missing input.
# Arguments: MKCONFIG (the program), DATA_DIR (inputs and expected output), WORK_DIR (scratch).
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

function(run_mkconfig)
    execute_process(COMMAND ${MKCONFIG} ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    set(rc "${rc}" PARENT_SCOPE)
    set(out "${out}" PARENT_SCOPE)
    set(err "${err}" PARENT_SCOPE)
endfunction()

# Wrong usage: the usage text and a failure status.
run_mkconfig(${DATA_DIR}/good.txt)
if(rc EQUAL 0 OR NOT out STREQUAL "Usage: mkconfig INPUT OUTPUT\n")
    message(FATAL_ERROR "one argument: status ${rc}, output '${out}'")
endif()

# A clean compile: status 0, nothing on standard error, a binary file that starts with its header.
set(good ${WORK_DIR}/good.vrc)
run_mkconfig(${DATA_DIR}/good.txt ${good})
if(NOT rc EQUAL 0 OR NOT err STREQUAL "" OR NOT EXISTS ${good})
    message(FATAL_ERROR "good input: status ${rc}, errors '${err}'")
endif()
file(READ ${good} bytes HEX)
string(HEX "Vantrel Configuration File 1.0" header)
string(HEX "Locked" locked)
string(FIND "${bytes}" "${header}00" headerAt)
string(FIND "${bytes}" "00${locked}00" unmarkedAt)
string(FIND "${bytes}" "0025${locked}00" markedAt)
if(NOT headerAt EQUAL 0 OR NOT unmarkedAt EQUAL -1 OR markedAt LESS 0)
    message(FATAL_ERROR "good input: header or read-only mark wrong in ${bytes}")
endif()

# Bad lines: every one reported with its line number, a failure status and no output file.
set(bad ${WORK_DIR}/bad.vrc)
file(WRITE ${bad} "stale")
run_mkconfig(${DATA_DIR}/bad.txt ${bad})
file(READ ${DATA_DIR}/bad.expected expected)
if(rc EQUAL 0 OR NOT err STREQUAL expected OR EXISTS ${bad})
    message(FATAL_ERROR "bad input: status ${rc}, errors\n${err}\nexpected\n${expected}")
endif()

# A missing input names the file and fails.
run_mkconfig(${WORK_DIR}/missing.txt ${WORK_DIR}/missing.vrc)
if(rc EQUAL 0 OR NOT err MATCHES "missing.txt.*E_NotFound")
    message(FATAL_ERROR "missing input: status ${rc}, errors '${err}'")
endif()
