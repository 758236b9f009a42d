# SPDX-License-Identifier: Apache-2.0
# How cost grows, from growth-extract.txt, growth-verify.txt and growth-search.txt in `folder`; the
# picture goes to `picture`.
set terminal pngcairo size 1200,360 font "sans-serif,11" background "white"
set output picture
set multiplot layout 1,3
set key off
set grid lc rgb "#dddddd"
set border 3
set tics nomirror
set style line 1 lc rgb "#1f5fa8" lw 2 pt 7 ps 0.6

set title "Extraction"
set xtics 20
set xlabel "image, thousand pixels"
set ylabel "milliseconds"
set xrange [0:*]
set yrange [0:*]
plot folder."/growth-extract.txt" using ($1/1e3):($2/1e6) with linespoints ls 1

set xtics 10
set title "Verification"
set xlabel "minutiae of each template"
set ylabel "microseconds"
plot folder."/growth-verify.txt" using 1:($2/1e3) with linespoints ls 1

set title "Search without early end"
set xlabel "templates in the list"
set ylabel "milliseconds"
set xrange [*:*]
set yrange [*:*]
set logscale xy
set xtics auto
set format x "10^{%L}"
set format y "10^{%L}"
plot folder."/growth-search.txt" using 1:($2/1e6) with linespoints ls 1
unset multiplot
