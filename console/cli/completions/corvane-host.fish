# Completion of corvane-host for fish. The candidates come from the program itself.

function __corvane_host_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l lines ($words[1] complete -- $words[2..-1] "$current" 2>/dev/null)
    if test "$lines" = :files
        set -l option (string match -r '^--[^=]+=' -- "$current")
        for path in (__fish_complete_path (string replace -- "$option" '' "$current"))
            echo "$option$path"
        end
    else
        string join \n -- $lines
    end
end

complete -c corvane-host -f -a '(__corvane_host_complete)'
