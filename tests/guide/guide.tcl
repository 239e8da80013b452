# Runs the blocks of a page and compares what they print with what the page says:
#   quarn --script guide.tcl QUARN PAGE FOLDER
# A block marked "tcl" goes to a session of the workbench, which lasts until a block marked "sh"; that goes to the shell.
# A block marked "text" right behind either holds all that is printed; a line "..." in it stands for any lines, and "..."
# in a line for any text. What prints something must have one. All runs in FOLDER, which is emptied first and has a link
# to the folder of examples.
# QUARN_GUIDE_UPDATE=1 in the environment writes the page anew, with what was printed where that differs.

lassign $argv quarn page folder
if {$folder eq ""} { error "usage: guide.tcl QUARN PAGE FOLDER" }

proc readLines {file} {
  set channel [open $file]
  fconfigure $channel -encoding utf-8
  set lines [split [string trimright [read $channel] \n] \n]
  close $channel
  return $lines
}

proc writeLines {file lines} {
  set channel [open $file w]
  fconfigure $channel -encoding utf-8
  puts $channel [join $lines \n]
  close $channel
}

# What stands between fences: a list of {kind first last}, numbers of lines, the fences not among them.
proc blocksOf {lines} {
  set blocks {}
  set kind ""
  set number -1
  foreach line $lines {
    incr number
    if {![string match "```*" $line]} continue
    if {$kind eq ""} {
      set kind "[string range $line 3 end] "
      set first [expr {$number + 1}]
    } else {
      lappend blocks [list [string trim $kind] $first [expr {$number - 1}]]
      set kind ""
    }
  }
  if {$kind ne ""} { error "the block that begins in line $first has no end" }
  return $blocks
}

# What is to be run: a list of {kind first last textFirst textLast}; the last two are -1 where no text follows.
proc stepsOf {lines} {
  set steps {}
  set before ""
  foreach block [blocksOf $lines] {
    lassign $block kind first last
    if {$kind in {tcl sh}} {
      lappend steps [list $kind $first $last -1 -1]
    } elseif {$kind eq "text" && [lindex $before 0] in {tcl sh}} {
      set between [lrange $lines [expr {[lindex $before 2] + 2}] [expr {$first - 2}]]
      if {[string trim [join $between ""]] eq ""} { lset steps end [concat $before $first $last] }
    }
    set before $block
  }
  return $steps
}

# The lines that a program prints, both of its channels, with the file as its input. Of equal lines that follow each
# other the first counts: into a pipe go the text of the console and the error, of which a terminal shows one.
proc linesOf {input args} {
  global folder
  set run {cd "$0"; "${@:2}" <"$1" 2>&1 || echo "ended with status $?"}
  set text [exec bash -c $run $folder/place $input {*}$args]
  set lines {}
  foreach line [split $text \n] {
    if {$line ne [lindex $lines end] || ![llength $lines]} { lappend lines $line }
  }
  return $lines
}

# Runs the blocks of one session, and returns what each has printed.
proc sessionOutputs {sources} {
  global folder
  set input {}
  set number 0
  foreach source $sources { lappend input {*}$source "puts {<<end of block [incr number]>>}" }
  writeLines $folder/input $input
  set outputs {}
  set output {}
  foreach line [linesOf $folder/input quarn --interactive] {
    if {[string match "<<end of block *>>" $line]} {
      lappend outputs $output
      set output {}
    } else {
      lappend output $line
    }
  }
  while {[llength $outputs] < [llength $sources]} {
    lappend outputs $output
    set output {}
  }
  return $outputs
}

proc shellOutput {source} {
  global folder
  writeLines $folder/input $source
  return [linesOf /dev/null bash $folder/input]
}

proc lineAgrees {expected printed} {
  return [string match [string map {... * * \\* ? \\? [ \\[ ] \\] \\ \\\\} $expected] $printed]
}

# Whether the lines are those of the page.
proc agree {expected printed} {
  if {![llength $expected]} { return [expr {![llength $printed]}] }
  set rest [lassign $expected line]
  if {$line ne "..."} {
    return [expr {[llength $printed] && [lineAgrees $line [lindex $printed 0]] && [agree $rest [lrange $printed 1 end]]}]
  }
  for {set from 0} {$from <= [llength $printed]} {incr from} {
    if {[agree $rest [lrange $printed $from end]]} { return 1 }
  }
  return 0
}

proc outputsOf {steps lines} {
  set outputs {}
  set session {}
  foreach step [concat $steps {{sh}}] {
    lassign $step kind first last
    if {$kind eq "tcl"} {
      lappend session [lrange $lines $first $last]
      continue
    }
    if {[llength $session]} { lappend outputs {*}[sessionOutputs $session] }
    set session {}
    if {$first ne ""} { lappend outputs [shellOutput [lrange $lines $first $last]] }
  }
  return $outputs
}

file delete -force $folder
file mkdir $folder/place $folder/bin $folder/temporary
file link -symbolic $folder/bin/quarn [file normalize $quarn]
file link -symbolic $folder/place/examples [file normalize [file dirname [info script]]/../../examples]
set folder [file normalize $folder]
set env(PATH) $folder/bin:$env(PATH)
set env(TMPDIR) $folder/temporary
set env(HOME) $folder
set env(QT_QPA_PLATFORM) offscreen

set lines [readLines $page]
set steps [stepsOf $lines]
set outputs [outputsOf $steps $lines]
set failures 0
# From the end on, so that the numbers of lines stay right where the page is written anew.
foreach step [lreverse $steps] printed [lreverse $outputs] {
  lassign $step kind first last textFirst textLast
  set expected [expr {$textFirst < 0 ? {} : [lrange $lines $textFirst $textLast]}]
  if {[agree $expected $printed]} continue
  incr failures
  puts "[file tail $page], the block in line [expr {$first + 1}] printed:\n[join $printed \n]\nThe page has:\n[join $expected \n]\n"
  if {$textFirst >= 0} {
    set lines [lreplace $lines $textFirst $textLast {*}$printed]
  } else {
    set lines [linsert $lines $last+2 "```text" {*}$printed "```"]
  }
}
if {[info exists env(QUARN_GUIDE_UPDATE)]} {
  writeLines $page $lines
} elseif {$failures} {
  error "$failures of [llength $steps] blocks print other lines than the page has"
}
puts "[llength $steps] blocks of [file tail $page]"
