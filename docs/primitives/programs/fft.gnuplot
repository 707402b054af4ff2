set terminal pngcairo size 800,360 font 'Sans,10'
set xlabel 'frequency, of the sampling frequency'
set ylabel 'level, dB'
set xrange [0:0.5]
set yrange [-140:10]
set grid
plot data with lines linecolor '#4070a0' notitle
