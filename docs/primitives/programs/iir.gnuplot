set terminal pngcairo size 800,400 font 'Sans,10'
set xlabel 'frequency, Hz'
set ylabel 'output, dB'
set yrange [-90:5]
set grid
set key bottom right
plot data using 1:3 with lines linecolor '#4070a0' title 'radius 0.98', \
     data using 1:2 with points pt 7 ps 0.5 linecolor '#4070a0' title 'measured', \
     data using 1:5 with lines linecolor '#c05030' title 'radius 0.998', \
     data using 1:4 with points pt 7 ps 0.5 linecolor '#c05030' title 'measured'
