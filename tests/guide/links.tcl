# Looks for links of pages that lead nowhere, and for files of this tree that pages name and that are not there:
#   quarn --script links.tcl ROOT
# Names of files are words in backquotes that begin with a folder of the tree; NAME, "..." and patterns stand for others.

set root [lindex $argv 0]
if {$root eq ""} { error "usage: links.tcl ROOT" }

proc pagesIn {folder} {
  set pages [glob -nocomplain -directory $folder *.md]
  foreach below [glob -nocomplain -directory $folder -types d *] { lappend pages {*}[pagesIn $below] }
  return $pages
}

proc targetsOf {page text} {
  set targets {}
  foreach {all target} [regexp -all -inline {\]\(([^)\s#]+)} $text] {
    if {![string match *://* $target]} { lappend targets [file join [file dirname $page] $target] }
  }
  foreach {all name} [regexp -all -inline {`((?:quarn|hxroi|roitools|tests|bench|docs|examples|scripts|fuzz|cmake)/[\w./-]+)`} $text] {
    if {![regexp {NAME|\.\.\.} $name]} { lappend targets [file join $::root $name] }
  }
  return $targets
}

set checked 0
set failures 0
foreach page [concat [glob -directory $root *.md] [pagesIn $root/docs]] {
  set channel [open $page]
  set text [regsub -all {<!--.*?-->} [read $channel] {}]
  close $channel
  foreach target [targetsOf $page $text] {
    incr checked
    if {[file exists $target]} continue
    incr failures
    puts "[file tail $page]: $target is not there"
  }
}
if {$failures} { error "$failures of $checked targets are not there" }
puts "$checked targets of pages are there"
