# Completes the command line of vu in fish. What there is to complete is read from the help of the
# very vu that is being called, so that the two are never out of step.

# Prints a line for each thing that the command in front of the cursor takes: what it is, its names,
# the word for its value, how that is completed, and the description, with tabs between them.
function __vu_listed
    set -l words (commandline -opc)
    set -l call
    set -l listed ($words[1] help --list 2>/dev/null)
    for word in $words[2..-1]
        test "$word" = -- && break
        if string match -q -- "command"\t"$word"\t"*" $listed
            set -a call $word
            set listed ($words[1] help --list $call 2>/dev/null)
        end
    end
    printf '%s\n' $listed
end

# Prints what a value may be that is called $argv[1], by what $argv[2] says.
function __vu_values
    switch $argv[2]
        case files
            __fish_complete_path (commandline -ct)
        case words
            string split '|' -- $argv[1]
        case codes
            set -l words (commandline -opc)
            $words[1] status --format tsv 2>/dev/null
    end
end

function __vu_candidates
    set -l words (commandline -opc)
    set -l last $words[-1]
    for line in (__vu_listed)
        set -l fields (string split \t -- $line)
        set -l names (string split , -- $fields[2])
        # An option in front that takes a value leaves room for nothing else.
        if test $fields[1] = option -a -n "$fields[3]" && contains -- "$last" $names
            __vu_values (string replace ... '' -- $fields[3]) $fields[4]
            return
        end
    end
    for line in (__vu_listed)
        set -l fields (string split \t -- $line)
        switch $fields[1]
            case operand
                __vu_values (string replace ... '' -- $fields[3]) $fields[4]
            case command
                printf '%s\t%s\n' $fields[2] $fields[5]
            case option
                for name in (string split , -- $fields[2])
                    string match -q -- '-*' (commandline -ct) && printf '%s\t%s\n' $name $fields[5]
                end
        end
    end
end

complete -c vu -f -a '(__vu_candidates)'
