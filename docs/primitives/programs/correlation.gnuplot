set terminal pngcairo size 800,320 font 'Sans,10'
set xlabel 'lag, samples'
set ylabel 'correlation'
set xrange [-200:200]
set grid
plot data with lines linecolor '#4070a0' notitle
