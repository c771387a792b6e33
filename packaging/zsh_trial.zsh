# What zsh makes of a command line and a tab: an interactive shell on a terminal of its own.
#   zsh -f zsh_trial.zsh 'zelk render --quality su'
zmodload zsh/zpty
zpty -b shell zsh -f -i
# The widget completes and prints the line.
zpty -w shell 'PS1= PS2=; autoload -Uz compinit; compinit -u -d ~/.zcompdump-trial
shown() { zle complete-word; print -r -- "<<<$BUFFER>>>"; }
zle -N shown; bindkey "^I" shown; print READY'
await() {
  local text all
  repeat 200; do
    zpty -r -t shell text && all+=$text
    [[ $all == *$1* ]] && { print -r -- $all; return 0 }
    sleep 0.05
  done
  print -r -- $all >&2
  return 1
}
await $'READY\r' >/dev/null || exit 1
zpty -w -n shell "$1"$'\t'
await '>>>' | sed -n 's/.*<<<\(.*\)>>>.*/\1/p'
zpty -d shell
