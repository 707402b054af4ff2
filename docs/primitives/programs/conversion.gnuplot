set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'a'
set ylabel 'd'
set xtics 0.5
set ytics 1
set grid
set key top left
plot data using 1:4 with lines linewidth 2 linecolor '#90b060' title 'rounded, scale factor -1', \
     data using 1:2 with lines linewidth 2 linecolor '#4070a0' title 'rounded', \
     data using 1:3 with lines linewidth 2 linecolor '#c05030' title 'truncated'
