# Completion of videoparams(1) for fish.

function __videoparams_is
    set -l words (commandline -opc)
    set -l command
    for word in $words[2..-1]
        if contains -- "$command $word" ' info' ' units' ' params' ' check' ' inspect' ' fix' ' userdata' \
                'userdata add' 'userdata get' 'userdata list' 'userdata remove'
            set command (string trim "$command $word")
        end
    end
    contains -- "$command" $argv
end

complete -c videoparams -f
complete -c videoparams -s h -l help -d 'Print help'
complete -c videoparams -n '__videoparams_is ""' -l version -d 'Print the version'
complete -c videoparams -n '__videoparams_is ""' -a info -d 'Describe a stream'
complete -c videoparams -n '__videoparams_is ""' -a units -d 'List the NAL units'
complete -c videoparams -n '__videoparams_is ""' -a params -d 'Show the parameter sets'
complete -c videoparams -n '__videoparams_is ""' -a check -d 'Look for missing pictures and misplaced units'
complete -c videoparams -n '__videoparams_is ""' -a inspect -d 'Write a page that shows the file'
complete -c videoparams -n '__videoparams_is ""' -a fix -d 'Correct the marks of key samples in a container'
complete -c videoparams -n '__videoparams_is ""' -a userdata -d 'Add, get, list or remove user data'
complete -c videoparams -n '__videoparams_is userdata' -a add -d 'Put bytes of your own into a stream'
complete -c videoparams -n '__videoparams_is userdata' -a get -d 'Show the user data that add put in'
complete -c videoparams -n '__videoparams_is userdata' -a list -d 'List all user data'
complete -c videoparams -n '__videoparams_is userdata' -a remove -d 'Remove user data'

set -l files info units params check inspect fix 'userdata add' 'userdata get' 'userdata list' 'userdata remove'
set -l outputs params inspect fix 'userdata add' 'userdata get' 'userdata remove'
set -l is "__videoparams_is '"(string join "' '" $files)"'"
complete -c videoparams -n $is -F
complete -c videoparams -n $is -x -l stream -d 'Video stream of a container'
complete -c videoparams -n $is -x -l codec -a 'h264 h265' -d 'Codec, if it cannot be detected'
complete -c videoparams -n "__videoparams_is '"(string join "' '" (string match -v inspect $files))"'" -l json -d 'Write JSON'
complete -c videoparams -n "__videoparams_is info '"(string join "' '" $outputs)"'" -l force \
    -d 'Replace a file of another kind, write bytes to a terminal'
complete -c videoparams -n "__videoparams_is '"(string join "' '" $outputs)"'" -r -F -s o -l output -d 'Where to write'
complete -c videoparams -n '__videoparams_is info' -l units -d 'List the access units'
complete -c videoparams -n '__videoparams_is info' -r -F -l plot -d 'Draw sizes as SVG'
complete -c videoparams -n '__videoparams_is inspect' -l no-open -d 'Do not open the page'
complete -c videoparams -n '__videoparams_is inspect' -r -F -l page -d 'Built page'
complete -c videoparams -n '__videoparams_is "userdata add"' -x -l text -d 'Add this text'
complete -c videoparams -n '__videoparams_is "userdata add"' -r -F -l data -d 'Add the bytes of a file'
complete -c videoparams -n '__videoparams_is info units check inspect fix "userdata add" "userdata get" "userdata list"' -r -F -l params \
    -d 'Parameter sets that the stream lacks'
complete -c videoparams -n '__videoparams_is "userdata add"' -x -l where -a 'first all key' -d 'Which access units'
complete -c videoparams -n '__videoparams_is "userdata add"' -x -l timestamp -a 'utc monotonic pts' -d 'Add the time'
complete -c videoparams -n '__videoparams_is "userdata add"' -l replace -d 'Replace what an earlier add put in'
complete -c videoparams -n '__videoparams_is "userdata get"' -l raw -d 'Write the bytes to the standard output'
complete -c videoparams -n '__videoparams_is "userdata remove"' -l all -d 'Remove the user data of all programs'
complete -c videoparams -n '__videoparams_is "userdata remove"' -x -l uuid -d 'Remove the user data with this identifier'
