# README shows the tool's real output of a film, its real picture and a program that the tests build. Man page and completion
# know every command and option. Every file that a page names exists.

file(READ "${SOURCE}/README.md" readme)
file(READ "${SOURCE}/docs/videoparams.1" manual)
string(REPLACE "\\-" "-" manual "${manual}")
foreach(completion videoparams.bash _videoparams videoparams.fish)
    file(READ "${SOURCE}/tools/completion/${completion}" "${completion}")
endforeach()

function(expect text where what)
    string(FIND "${where}" "${text}" place)
    if(place EQUAL -1)
        message(SEND_ERROR "${what} lacks:\n${text}")
    endif()
endfunction()

if(CONTAINERS)
    execute_process(COMMAND ${TOOL} info film.mp4 --plot "${WORK}/sizes.svg"
        WORKING_DIRECTORY "${SOURCE}/tests/documentation" OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
    expect("$ videoparams info film.mp4 --plot sizes.svg\n${printed}```" "${readme}" README.md)

    file(READ "${WORK}/sizes.svg" drawn)
    file(READ "${SOURCE}/docs/images/sizes.svg" shown)
    if(NOT drawn STREQUAL shown)
        message(SEND_ERROR "docs/images/sizes.svg is not what the tool draws: "
            "videoparams info tests/documentation/film.mp4 --plot")
    endif()
endif()

# Without the comment at its head.
file(READ "${SOURCE}/examples/list-access-units.c" program)
string(REGEX REPLACE "^(//[^\n]*\n)+\n" "" program "${program}")
expect("```c\n${program}```" "${readme}" README.md)

foreach(command info units params check inspect fix "userdata add" "userdata get" "userdata list"
        "userdata remove")
    separate_arguments(words UNIX_COMMAND "${command}")
    execute_process(COMMAND ${TOOL} ${words} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
    expect("videoparams ${command}\n" "${manual}" videoparams.1)
    string(REGEX MATCH "\"?${command}\"?\\) words=[^\n]*" words "${videoparams.bash}")
    string(REGEX MATCHALL "--[a-z-]+" options "${help}")
    foreach(option ${options})
        expect("${option}" "${manual}" videoparams.1)
        expect("${option}" "${words}" "videoparams.bash for ${command}")
        expect("${option}" "${_videoparams}" _videoparams)
        string(REPLACE "--" "-l " option "${option}")
        expect("${option} " "${videoparams.fish}" videoparams.fish)
    endforeach()
endforeach()

file(GLOB pages "${SOURCE}/*.md" "${SOURCE}/docs/*.md" "${SOURCE}/docs/reference.dox" "${SOURCE}/include/*.h")
foreach(page ${pages})
    file(READ "${page}" text)
    string(REGEX MATCHALL "(docs|examples|fuzz|include|scripts|src|tests|tools)/[A-Za-z0-9_./-]+\\.[a-z0-9]+" files "${text}")
    foreach(file ${files})
        if(NOT EXISTS "${SOURCE}/${file}" AND NOT EXISTS "${SOURCE}/docs/${file}")
            message(SEND_ERROR "${page} names ${file}, which does not exist")
        endif()
    endforeach()
endforeach()
