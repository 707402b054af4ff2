set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'integer'
set ylabel 'level, dB'
set logscale x
set xrange [1:100]
set yrange [0:21]
set ytics 2
set grid
set key top left
plot data using 1:2 with steps linewidth 1.5 linecolor '#c05030' title 'scale factor 0', \
     data using 1:3 with lines linewidth 1.5 linecolor '#4070a0' title 'scale factor -8, over 256'
