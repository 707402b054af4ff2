set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'frequency of the sine, kHz'
set ylabel 'output, dB'
set xrange [0:22.05]
set yrange [-140:10]
set ytics 20
set grid
set key center left
plot data using 1:4 with lines linewidth 2 linecolor '#4070a0' title 'gain', \
     data using 1:3 with lines linecolor '#c05030' title 'the strongest else, taps of 16 bits', \
     data using 1:5 with lines linecolor '#90b060' title 'the strongest else, taps in floats'
