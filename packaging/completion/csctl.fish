# Completion of csctl for fish. The candidates come from the tool itself.

function __csctl_candidates
    set -l words (commandline -opc)
    set -l word (commandline -ct)
    for candidate in ($words[1] complete $words[2..] "$word" 2>/dev/null)
        switch $candidate
            case :files
                __fish_complete_path "$word"
            case :directories
                __fish_complete_directories "$word" ''
            case '*'
                echo $candidate
        end
    end
end

complete -c csctl -f -a '(__csctl_candidates)'
