set terminal pngcairo size 800,560 font 'Sans,10'
set xlabel 'frequency, of the sampling frequency'
set ylabel 'level, dB'
set xrange [0:0.3]
set yrange [-120:10]
set grid
set key top right
plot data using 1:6 with lines linewidth 1.5 linecolor '#a0a0a0' title 'no window', \
     data using 1:2 with lines linewidth 1.5 linecolor '#d0a030' title 'Bartlett', \
     data using 1:5 with lines linewidth 1.5 linecolor '#90b060' title 'Hann', \
     data using 1:4 with lines linewidth 1.5 linecolor '#4070a0' title 'Hamming', \
     data using 1:3 with lines linewidth 1.5 linecolor '#c05030' title 'Blackman'
