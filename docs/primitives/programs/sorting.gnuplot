set terminal pngcairo size 800,360 font 'Sans,10'
set xlabel 'sample'
set ylabel 'value'
set yrange [-30000:30000]
set grid
set key top right horizontal
plot data using 1:2 with lines linecolor '#c05030' title 'before', \
     data using 1:3 with lines linewidth 1.5 linecolor '#4070a0' title 'median of five'
