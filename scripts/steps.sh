# shellcheck shell=bash
# Sourced by .ci/run and scripts/release-check: runs one step after the other and prints how long each took.

steps_table=

# Prints seconds as minutes and seconds.
as_minutes() {
  printf '%d:%02d' $(($1 / 60)) $(($1 % 60))
}

# step COMMAND...: the first one that fails ends the run, behind the table.
step() {
  local start=$SECONDS result=passed
  printf '\n==== [%s] %s\n' "$(as_minutes "$start")" "$*"
  "$@" </dev/null || result=FAILED
  steps_table+=$(printf '%8s  %-6s  %s' "$(as_minutes $((SECONDS - start)))" "$result" "$*")$'\n'
  if [ "$result" = FAILED ]; then
    print_steps
    exit 1
  fi
}

print_steps() {
  printf '\n==== [%s] Steps, and the minutes that each took\n%s' "$(as_minutes "$SECONDS")" "$steps_table"
}
