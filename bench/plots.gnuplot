# Draws the two pictures of docs/performance.md from what script/bench has measured.
set terminal svg size 760,420 font "sans-serif,13" background "white"
set border 3 lc rgb "#888888"
set grid ytics lc rgb "#dddddd" lt 1
set tics nomirror
set key above left reverse Left

set output "docs/performance-size.svg"
set logscale xy
set xlabel "megapixels"
set ylabel "milliseconds of a frame"
set xrange [0.1:45]
plot data."/sizes" using 1:($1 * $2) with linespoints lw 2 pt 7 ps 0.6 lc rgb "#1f77b4" title "8 bits, linear", \
     data."/sizes" using 1:($1 * $3) with linespoints lw 2 pt 5 ps 0.6 lc rgb "#d62728" title "8 bits, square", \
     1.5 * x with lines dt 2 lc rgb "#888888" title "1.5 ns a pixel"

set output "docs/performance-stages.svg"
unset logscale
unset xlabel
set xrange [*:*]
set yrange [0:*]
set ylabel "milliseconds at 3840 x 2160"
set style data histograms
set style histogram clustered gap 1
set style fill solid
set xtics rotate by -40 left
plot data."/stages" using 2:xtic(1) lc rgb "#1f77b4" title "stage, alone", \
     data."/stages" using 3 lc rgb "#bbbbbb" title "the bytes it moves, at the rate of a non-temporal copy"
